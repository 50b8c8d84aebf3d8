// The library's internal consistency check and its report.
#pragma once

// Does nothing when test is true. Otherwise prints the assertion report to the
// standard error stream, interrupts its own process with SIGINT and, should the
// process survive that, exits with status 8.
void tolk_assertfunc(bool test, const char* filename, unsigned int linenumber, const char* message,
                     const char* optmessage = nullptr);

// Checks cond and reports with this source file's name and line.
#define TOLK_ASSERT(cond, message) tolk_assertfunc((cond), __FILE_NAME__, __LINE__, (message), nullptr)
#define TOLK_ASSERT2(cond, message, optmessage) \
  tolk_assertfunc((cond), __FILE_NAME__, __LINE__, (message), (optmessage))
