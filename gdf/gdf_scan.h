// The GDF tokenizer's interface: scan set-up, the token source for the parser and the error report.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

// Token codes and the semantic value gdf_lval come from the grammar.
#include "gdf/gdf_parse.h"

// Scanner state is module-level: one scan at a time per process.

// Starts a scan of an open stream (read through a 16384-byte buffer; the
// stream stays the caller's). Releases whatever a previous scan left behind.
void gdf_scan_init(FILE* in);
// Starts a scan of a NUL-terminated text; the text is copied.
void gdf_scan_init(const char* text);
// Starts a scan of length bytes that may hold NULs; the bytes are copied.
void gdf_scan_init(const char* bytes, size_t length);
// Releases the scan's buffers. Call it when a scan is done.
void gdf_scan_terminate();
// Inputs of at least this many bytes (gdf_kScanThreadFrom unless set) are scanned on a
// second thread, a few thousand tokens ahead of the parser; only regular files and texts
// qualify. Takes effect at the next gdf_scan_init.
constexpr int64_t gdf_kScanThreadFrom = int64_t(1) << 20;
void gdf_scan_thread_from(int64_t bytes);

// Returns the next token's code (0 at end of input, and for a NUL byte between
// tokens; GDF_error once when reading the stream failed) and leaves its value
// in gdf_lval. A text in gdf_lval.strval belongs
// to the caller, who releases it with gdf_text_free.
int gdf_lex();

// A reader that looks names up may want to fetch their table entries early. With a hint
// set, gdf_lex shows it the names that inst and conn statements give right after their
// definition (the instance, or the node and the first name of each terminal), each with
// the definition's name, in the order of the text and gdf_kNameHintAhead tokens before
// it hands out the statement's first token (statements near the start of a block of
// scanned tokens are shown when the block starts). A statement that straddles the end of
// a block is shown as far as the block holds it. The texts are lent for the call only.
// A null hint ends the hints; the setting outlives the scan.
using gdf_NameHint = void (*)(void* context, const char* def, const char* name);
constexpr size_t gdf_kNameHintAhead = 32;
void gdf_scan_set_name_hint(gdf_NameHint hint, void* context);

// Token texts: room for length characters and a NUL. They come from a pool of
// blocks that are reused at once, since a text rarely outlives its statement.
char* gdf_text_new(size_t length);
void gdf_text_free(char* text);
struct gdf_TextFree {
  void operator()(char* text) const { gdf_text_free(text); }
};
// Called by gdf_lex at the end of an input: 1 to finish, 0 to go on. C
// linkage, as the generated scanner declares it.
extern "C" int gdf_wrap();

// Prints the three-line error report for the current position: the line, a
// caret under the position (or a notice that the line was cut), and
// "Line %d, Char %u: <message>". Right after a line end the report is about
// the line before it.
void gdf_error(const char* message);

// Where the scan stood right after the last token gdf_lex handed out (with a thread the
// scanner itself is a few blocks ahead).
int gdf_scan_lineno();
int gdf_scan_token_offset();
int gdf_scan_token_offset_old();
bool gdf_scan_prev_was_eol();
// The current line as scanned so far and the previous line (at most 158 characters each).
const char* gdf_scan_linebuf();
const char* gdf_scan_linebuf_old();
// True once gdf_lex has returned 0 because the input really ended (not for a NUL byte).
bool gdf_scan_finished();
// The errno of a failed read of the stream, which ended the input there; 0 when every read succeeded.
int gdf_scan_read_error();
