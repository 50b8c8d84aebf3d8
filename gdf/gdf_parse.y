/* GDF grammar: token codes, semantic values and the syntax-error report. */

%code top {
// Generated from gdf/gdf_parse.y by bison; edit the grammar, not this file.
}

%code requires {
#include <cstdint>
}

%code provides {
// The tokenizer that feeds this grammar (see gdf/gdf_scan.h for its interface).
int gdf_lex();
void gdf_error(const char* message);
// The name under which syntax errors show a token code: "GDF_ID", "'.'",
// "$end" for 0, "$undefined" for a character that no token uses.
const char* gdf_token_name(int code);
}

%code {
#include <cstdio>
#include <cstring>
}

%define api.prefix {gdf_}
%define api.header.include {"gdf/gdf_parse.h"}
%define parse.error custom
%expect 0

/* Semantic values. The tokenizer fills strval, ival and dval; texts are heap
   arrays owned by whoever consumes the token and released with delete[]. */
%union {
  char* strval;
  int64_t ival;
  double dval;
}

/* Tokens. Their order fixes their codes and the order in which a syntax error
   lists the expected tokens, so new tokens go at the end. */
%token GDF_ELEM GDF_CKT GDF_INST GDF_CONN GDF_PROP GDF_PROPSET GDF_PROPADD GDF_PROPSETADD
%token GDF_HPROPADD GDF_HPROPSETADD GDF_TSPROP GDF_TSEXPR GDF_SECTION GDF_TSSCHEMA GDF_TSASSOC
%token GDF_HTSASSOC GDF_TSPROPDATA GDF_INT32_T GDF_INT64_T GDF_INT32SET_T GDF_INT64SET_T
%token GDF_FLOAT64_T GDF_FLOAT64SET_T GDF_STRING_T GDF_EOL GDF_DEFPROPADD GDF_CONTAINER GDF_NULL
%token GDF_ASSETCLASS GDF_ASSETCLASSAPPLY GDF_CONDSTATE GDF_HCONDSTATE GDF_HFLOWROLE GDF_ROOT
%token GDF_SUPPORT
%token <strval> GDF_STRING GDF_ID GDF_AUX_ID GDF_SQSTRING
%token <dval> GDF_DBL
%token <ival> GDF_INT64 GDF_INT32
/* Punctuation travels as the characters themselves. */
%token '.' '{' '}' '[' ']' ','

/* Texts of tokens that the parser drops (error, end of input) are released here. */
%destructor { delete[] $$; } <strval>

%%

/* Provisional rules: any sequence of known tokens. Characters that no token
   names reach the parser as $undefined and end the parse. */
input
  : %empty
  | input token
  ;

token
  : GDF_ELEM | GDF_CKT | GDF_INST | GDF_CONN | GDF_PROP | GDF_PROPSET | GDF_PROPADD
  | GDF_PROPSETADD | GDF_HPROPADD | GDF_HPROPSETADD | GDF_TSPROP | GDF_TSEXPR | GDF_SECTION
  | GDF_TSSCHEMA | GDF_TSASSOC | GDF_HTSASSOC | GDF_TSPROPDATA | GDF_INT32_T | GDF_INT64_T
  | GDF_INT32SET_T | GDF_INT64SET_T | GDF_FLOAT64_T | GDF_FLOAT64SET_T | GDF_STRING_T | GDF_EOL
  | GDF_DEFPROPADD | GDF_CONTAINER | GDF_NULL | GDF_ASSETCLASS | GDF_ASSETCLASSAPPLY
  | GDF_CONDSTATE | GDF_HCONDSTATE | GDF_HFLOWROLE | GDF_ROOT | GDF_SUPPORT
  | GDF_STRING { delete[] $1; }
  | GDF_ID { delete[] $1; }
  | GDF_AUX_ID { delete[] $1; }
  | GDF_SQSTRING { delete[] $1; }
  | GDF_DBL | GDF_INT64 | GDF_INT32
  | '.' | '{' | '}' | '[' | ']' | ','
  ;

%%

// Bison's own names for the end of input and an unknown character read
// differently from what our messages print.
static const char* symbol_name(yysymbol_kind_t kind) {
  if (kind == YYSYMBOL_YYEOF) return "$end";
  if (kind == YYSYMBOL_YYUNDEF) return "$undefined";
  return yysymbol_name(kind);
}

// "syntax error, unexpected X, expecting A or B": the expected tokens are
// listed only when there are at most four of them.
static int yyreport_syntax_error(const yypcontext_t* ctx) {
  enum { kMaxListed = 4 };
  char message[512] = "syntax error";
  yysymbol_kind_t unexpected = yypcontext_token(ctx);
  if (unexpected != YYSYMBOL_YYEMPTY) {
    std::strcat(message, ", unexpected ");
    std::strcat(message, symbol_name(unexpected));
    yysymbol_kind_t expected[kMaxListed];
    int count = yypcontext_expected_tokens(ctx, expected, kMaxListed);
    for (int i = 0; i < count; ++i) {
      std::strcat(message, i == 0 ? ", expecting " : " or ");
      std::strcat(message, symbol_name(expected[i]));
    }
  }
  gdf_error(message);
  return 0;
}

const char* gdf_token_name(int code) { return symbol_name(YYTRANSLATE(code)); }
