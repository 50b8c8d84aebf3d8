// Whole token streams of a GDF text: drives gdf_lex to the end and collects what it hands out.
#include "gdf/gdf_tokens.h"

#include "gdf/gdf_scan.h"

static gdf_Token take_token(int code) {
  gdf_Token token;
  token.code = code;
  if (gdf_token_has_text(code)) {
    token.text = gdf_lval.strval;
    gdf_text_free(gdf_lval.strval);
  } else if (code == GDF_INT32 || code == GDF_INT64) {
    token.ival = gdf_lval.ival;
  } else if (code == GDF_DBL) {
    token.dval = gdf_lval.dval;
  }
  token.lineno = gdf_scan_lineno();
  token.token_offset = gdf_scan_token_offset();
  return token;
}

static std::vector<gdf_Token> collect_tokens(gdf_NulHandling nul) {
  std::vector<gdf_Token> tokens;
  for (;;) {
    const int code = gdf_lex();
    if (code == 0 && (nul == gdf_NulHandling::kEndsInput || gdf_scan_finished())) break;
    tokens.push_back(take_token(code));
  }
  gdf_scan_terminate();
  return tokens;
}

std::vector<gdf_Token> gdf_scan_tokens(std::string_view text, gdf_NulHandling nul) {
  gdf_scan_init(text.data(), text.size());
  return collect_tokens(nul);
}

std::vector<gdf_Token> gdf_scan_tokens(FILE* in, gdf_NulHandling nul) {
  gdf_scan_init(in);
  return collect_tokens(nul);
}
