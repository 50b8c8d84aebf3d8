// The assertion report: message, optional detail, source position; then SIGINT.
#include "tolk/assert.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

void tolk_assertfunc(bool test, const char* filename, unsigned int linenumber, const char* message,
                     const char* optmessage) {
  if (test) return;
  fprintf(stderr, "\n\n >>>>>> Internal Error (Assert Failure): %s \n", message ? message : "");
  if (optmessage) fprintf(stderr, "   %s \n", optmessage);
  fprintf(stderr, "     At file:%s line %u <<<<<<<\n\n", filename ? filename : "", linenumber);
  fflush(stderr);
  kill(getpid(), SIGINT);
  exit(8);
}
