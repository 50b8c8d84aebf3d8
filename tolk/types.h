// Scalar types of the utility library.
#pragma once

#include <cstdint>

typedef int64_t tolk_signed;    // signed 64-bit
typedef uint64_t tolk_unsigned; // unsigned 64-bit
typedef int16_t tolk_boolean;   // 16-bit truth value
