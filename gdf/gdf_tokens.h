// Whole token streams of a GDF text, with values and positions: a seam for tests and tools.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

// Token codes.
#include "gdf/gdf_parse.h"

// One token as gdf_lex handed it out, with where the scan stood right after it.
struct gdf_Token {
  int code = 0;
  std::string text; // GDF_ID, GDF_AUX_ID, GDF_STRING, GDF_SQSTRING
  int64_t ival = 0; // GDF_INT32, GDF_INT64
  double dval = 0;  // GDF_DBL
  int lineno = 0;
  int token_offset = 0;
};

// What to do with a NUL byte between tokens: gdf_lex reports it as code 0,
// which ends the input for the parser.
enum class gdf_NulHandling { kEndsInput, kIsToken };

// Scans text (which may hold NULs) from start to end; the end of input itself
// is not in the result. The scan is terminated afterwards.
std::vector<gdf_Token> gdf_scan_tokens(std::string_view text, gdf_NulHandling nul = gdf_NulHandling::kEndsInput);
// The same for an open stream, which stays open.
std::vector<gdf_Token> gdf_scan_tokens(FILE* in, gdf_NulHandling nul = gdf_NulHandling::kEndsInput);

// True for the codes whose value is a text in gdf_lval.strval. Asked for every token that
// gdf_lex hands out, so kept inline.
inline bool gdf_token_has_text(int code) {
  return code == GDF_ID || code == GDF_AUX_ID || code == GDF_STRING || code == GDF_SQSTRING;
}
