/* GDF grammar: statements, their operands and the points at which each check runs. */

%code top {
// Generated from gdf/gdf_parse.y by bison; edit the grammar, not this file.
}

%code requires {
#include <cstdint>

#include "registry/prop_types.h"
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
#include <cstring>

#include "gdf/gdf_actions.h"
#include "gdf/gdf_scan.h"

// A check or action that reported an error ends the parse; nothing recovers.
#define CHECK(ok) \
  do {            \
    if (!(ok)) YYABORT; \
  } while (0)
}

%define api.prefix {gdf_}
%define api.header.include {"gdf/gdf_parse.h"}
%define parse.error custom
%expect 0
/* The parser stack keeps bison's defaults: 200 entries, doubling up to 10000.
   Every list below is left-recursive, so a statement of any length needs only
   a few of them. */

/* Semantic values. The tokenizer fills strval, ival and dval; texts are heap
   arrays owned by whoever consumes the token and released with gdf_text_free. */
%union {
  char* strval;
  int64_t ival;
  double dval;
  ZELT_Grid_ValueType vtype; /* a property's value type */
  int code;                 /* a time-series field type */
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

/* Nonterminals with values. */
%type <vtype> valuetype
%type <code> scalartype
%type <ival> integer

/* Texts still on the stack when the parse stops are released here. A rule's
   final action owns the texts of its right-hand side; mid-rule actions only
   borrow them. */
%destructor { gdf_text_free($$); } <strval>

%%

file
  : %empty
  | file statement
  ;

statement
  : circuit | section | root | instance | connection | container | support
  | property | property_set | instance_property | instance_property_set
  | hier_property | hier_property_set | definition_property
  | asset_class | asset_class_use
  | ts_property | ts_schema | sensor_association | ts_expression | property_data
  | condition_states | hier_condition_states | flow_roles
  ;

/* ---- Operands shared by several statements ---- */

integer
  : GDF_INT32 { $$ = $1; }
  | GDF_INT64 { $$ = $1; }
  ;

valuetype
  : GDF_STRING_T     { $$ = ZELT_Grid_ValueType::small_string; }
  | GDF_INT32SET_T   { $$ = ZELT_Grid_ValueType::int32_set; }
  | GDF_INT32_T      { $$ = ZELT_Grid_ValueType::int32; }
  | GDF_INT64SET_T   { $$ = ZELT_Grid_ValueType::int64_set; }
  | GDF_INT64_T      { $$ = ZELT_Grid_ValueType::int64; }
  | GDF_FLOAT64SET_T { $$ = ZELT_Grid_ValueType::float64_set; }
  | GDF_FLOAT64_T    { $$ = ZELT_Grid_ValueType::float64; }
  ;

scalartype
  : GDF_STRING_T  { $$ = gdf_kTSString; }
  | GDF_INT32_T   { $$ = gdf_kTSInt32; }
  | GDF_INT64_T   { $$ = gdf_kTSInt64; }
  | GDF_FLOAT64_T { $$ = gdf_kTSFloat64; }
  ;

/* Names of entities of the current definition (container and support members). */
members
  : member
  | members member
  ;

member
  : GDF_ID { CHECK(gdf_push_member($1)); }
  ;

/* A dotted path from a definition down through instances; it is resolved once
   complete, into the current hierarchical entity. */
hier_name
  : GDF_ID '.' GDF_ID { gdf_begin_hier_name($1, $3); }
  | hier_name '.' GDF_ID { gdf_push_hier_name($3); }
  ;

hier_entity
  : hier_name { CHECK(gdf_check_hier_entity()); }
  ;

/* ---- Structure ---- */

circuit
  : GDF_CKT GDF_ID { CHECK(gdf_check_new_definition($2)); } terminal_names GDF_EOL { gdf_add_circuit($2); }
  ;

terminal_names
  : %empty
  | terminal_names GDF_ID { gdf_push_name($2); }
  ;

section
  : section_header '{' GDF_EOL elements '}' GDF_EOL { gdf_end_section(); }
  ;

section_header
  : GDF_SECTION GDF_ID { CHECK(gdf_start_section($2)); }
  ;

elements
  : element
  | elements element
  ;

element
  : GDF_ELEM GDF_ID { CHECK(gdf_check_new_definition($2)); }
    integer { CHECK(gdf_check_terminal_count($4)); }
    GDF_EOL { gdf_add_element($2, $4); }
  ;

root
  : GDF_ROOT { CHECK(gdf_check_registry(gdf_kRootRegistry)); }
    GDF_ID { CHECK(gdf_check_definition($3)); }
    GDF_EOL { gdf_set_root($3); }
  ;

instance
  : GDF_INST GDF_ID { CHECK(gdf_check_instance_parent($2)); }
    '.' GDF_ID { CHECK(gdf_check_new_instance($2, $5)); }
    GDF_ID { CHECK(gdf_check_instance_type($2, $7)); }
    GDF_EOL { gdf_add_instance($2, $5, $7); }
  ;

connection
  : GDF_CONN GDF_ID { CHECK(gdf_check_parent_definition($2)); }
    '.' GDF_ID terminal_refs GDF_EOL { CHECK(gdf_add_connection($2, $5)); }
  ;

terminal_refs
  : terminal_ref
  | terminal_refs terminal_ref
  ;

/* A terminal of the circuit itself, or of one of its instances by name or number. */
terminal_ref
  : GDF_ID { gdf_push_terminal(nullptr, $1); }
  | GDF_ID '.' GDF_ID { gdf_push_terminal($1, $3); }
  | GDF_ID '.' integer { CHECK(gdf_push_terminal_number($1, $3)); }
  ;

/* Heads end in an action of their own that hands the names over to the parser
   state, where the rest of the statement finds them. */
container
  : container_head members GDF_EOL { gdf_add_container(); }
  ;

container_head
  : GDF_CONTAINER GDF_ID { CHECK(gdf_check_parent_definition($2)); }
    '.' GDF_ID { CHECK(gdf_check_container_instance($2, $5)); }
    { gdf_set_context($2, $5); }
  ;

support
  : support_head members GDF_EOL { gdf_add_support(); }
  ;

support_head
  : GDF_SUPPORT GDF_ID { CHECK(gdf_check_definition($2)); }
    '.' GDF_ID { CHECK(gdf_check_instance($2, $5)); }
    { gdf_set_context($2, $5); }
  ;

/* ---- Properties ---- */

property
  : GDF_PROP { CHECK(gdf_check_registry(gdf_kPropertyRegistry)); }
    GDF_ID { CHECK(gdf_check_new_property($3)); }
    valuetype GDF_EOL { gdf_add_property($3, $5); }
  ;

property_set
  : property_set_header '{' GDF_EOL property_set_members '}' GDF_EOL
  ;

property_set_header
  : GDF_PROPSET { CHECK(gdf_begin_property_statement(GDF_PROPSET_ADD)); }
    GDF_ID { gdf_set_context($3, nullptr); }
  ;

property_set_members
  : property_set_member
  | property_set_members property_set_member
  ;

property_set_member
  : property_value GDF_EOL { gdf_apply_value(); }
  ;

instance_property
  : instance_property_head property_value GDF_EOL { gdf_apply_value(); }
  ;

instance_property_head
  : GDF_PROPADD { CHECK(gdf_begin_property_statement(GDF_PROP_ADD)); }
    GDF_ID { CHECK(gdf_check_definition($3)); }
    '.' GDF_ID { CHECK(gdf_check_instance($3, $6)); }
    { gdf_set_context($3, $6); }
  ;

instance_property_set
  : GDF_PROPSETADD { CHECK(gdf_check_registry(gdf_kPropertyRegistry)); }
    GDF_ID { CHECK(gdf_check_definition($3)); }
    '.' GDF_ID { CHECK(gdf_check_instance($3, $6)); }
    GDF_ID { CHECK(gdf_check_property_set($8)); }
    GDF_EOL { CHECK(gdf_apply_property_set($3, $6, $8)); }
  ;

hier_property
  : GDF_HPROPADD { CHECK(gdf_begin_property_statement(GDF_HPROP_ADD)); }
    hier_entity property_value GDF_EOL { gdf_apply_value(); }
  ;

hier_property_set
  : GDF_HPROPSETADD { CHECK(gdf_check_registry(gdf_kPropertyRegistry)); }
    hier_entity GDF_ID { CHECK(gdf_check_property_set($4)); }
    GDF_EOL { CHECK(gdf_apply_hier_property_set($4)); }
  ;

definition_property
  : definition_property_head property_value GDF_EOL { gdf_apply_value(); }
  ;

definition_property_head
  : GDF_DEFPROPADD { CHECK(gdf_begin_property_statement(GDF_DEFPROP_ADD)); }
    GDF_ID { CHECK(gdf_check_definition($3)); }
    { gdf_set_context($3, nullptr); }
  ;

/* A registered property with a value, or an AUX property with its type and a value. */
property_value
  : property_name value
  | aux_property value_not_null
  ;

property_name
  : GDF_ID { CHECK(gdf_select_property($1)); }
  ;

aux_property
  : GDF_AUX_ID valuetype { CHECK(gdf_select_aux_property($1, $2)); }
  ;

value
  : value_not_null
  | GDF_NULL { CHECK(gdf_value_null()); }
  ;

value_not_null
  : GDF_INT32 { CHECK(gdf_value_integer($1, false)); }
  | GDF_INT64 { CHECK(gdf_value_integer($1, true)); }
  | GDF_DBL { CHECK(gdf_value_real($1)); }
  | GDF_STRING { CHECK(gdf_value_string($1)); }
  | '[' { CHECK(gdf_begin_number_list()); } numbers ']' { CHECK(gdf_value_number_list()); }
  ;

numbers
  : number
  | numbers ',' number
  ;

number
  : GDF_INT32 { CHECK(gdf_push_list_integer($1, false)); }
  | GDF_INT64 { CHECK(gdf_push_list_integer($1, true)); }
  | GDF_DBL { CHECK(gdf_push_list_real($1)); }
  ;

/* ---- Asset classes ---- */

asset_class
  : GDF_ASSETCLASS { CHECK(gdf_check_registry(gdf_kAssetClassRegistry)); }
    GDF_ID { CHECK(gdf_check_new_asset_class($3)); }
    GDF_EOL { gdf_add_asset_class($3); }
  ;

asset_class_use
  : GDF_ASSETCLASSAPPLY { CHECK(gdf_check_registry(gdf_kAssetClassRegistry)); }
    GDF_ID { CHECK(gdf_check_asset_class_target($3)); }
    GDF_ID { CHECK(gdf_check_asset_class($5)); }
    GDF_EOL { gdf_apply_asset_class($3, $5); }
  ;

/* ---- Time series ---- */

ts_property
  : GDF_TSPROP { CHECK(gdf_check_registry(gdf_kPropertyRegistry)); }
    GDF_ID { CHECK(gdf_check_new_property($3)); }
    scalartype GDF_EOL { gdf_add_ts_property($3, $5); }
  ;

ts_schema
  : ts_schema_header '{' GDF_EOL ts_fields '}' GDF_EOL { CHECK(gdf_add_ts_schema()); }
  ;

ts_schema_header
  : GDF_TSSCHEMA { CHECK(gdf_check_registry(gdf_kTSSchemaRegistry)); }
    GDF_ID { CHECK(gdf_check_new_ts_schema($3)); }
    db_schema GDF_ID GDF_ID ts_name { gdf_begin_ts_schema($3, $6, $7); }
  ;

/* A missing schema is written "--" or, formerly, "". */
db_schema
  : GDF_ID { gdf_set_db_schema($1); }
  | GDF_NULL { gdf_set_db_schema(nullptr); }
  | GDF_STRING { CHECK(gdf_set_db_schema_string($1)); }
  ;

ts_name
  : %empty { gdf_set_ts_name(nullptr); }
  | GDF_ID { gdf_set_ts_name($1); }
  ;

ts_fields
  : ts_field
  | ts_fields ts_field
  ;

ts_field
  : GDF_ID scalartype GDF_EOL { gdf_push_ts_field($1, $2); }
  ;

sensor_association
  : sensor_association_header '{' GDF_EOL sensors '}' GDF_EOL { gdf_add_sensor_association(); }
  ;

sensor_association_header
  : GDF_HTSASSOC { CHECK(gdf_check_registry(gdf_kSensorAssociations)); }
    GDF_ID { CHECK(gdf_check_ts_schema($3)); }
    { gdf_set_context($3, nullptr); }
  ;

sensors
  : sensor
  | sensors sensor
  ;

sensor
  : hier_entity integer GDF_EOL { gdf_push_sensor($2); }
  ;

ts_expression
  : GDF_TSEXPR { CHECK(gdf_check_registry(gdf_kTSExprRegistry)); }
    GDF_ID { CHECK(gdf_check_new_ts_expression($3)); }
    scalartype GDF_SQSTRING GDF_EOL { gdf_add_ts_expression($3, $5, $6); }
  ;

/* The token after the second operand decides the form: a field name, or the line end. */
property_data
  : property_data_head GDF_ID GDF_ID { CHECK(gdf_check_ts_field($2, $3)); }
    GDF_EOL { gdf_add_property_data_field($2, $3); }
  | property_data_head GDF_ID GDF_EOL { CHECK(gdf_add_property_data_expression($2)); }
  ;

property_data_head
  : GDF_TSPROPDATA { CHECK(gdf_check_registry(gdf_kTSPropertyData)); }
    GDF_ID { CHECK(gdf_check_property_defined($3)); }
    { gdf_set_context($3, nullptr); }
  ;

/* ---- Conductivity states and flow roles ---- */

condition_states
  : condition_states_header '{' GDF_EOL condition_state_lines '}' GDF_EOL { gdf_add_condition_states(); }
  ;

condition_states_header
  : GDF_CONDSTATE GDF_ID { CHECK(gdf_check_condition_state_tag($2)); }
    GDF_ID { CHECK(gdf_check_definition($4)); }
    { gdf_begin_condition_states($2, $4); }
  ;

condition_state_lines
  : condition_state_line
  | condition_state_lines condition_state_line
  ;

condition_state_line
  : GDF_ID { CHECK(gdf_check_context_instance($1)); }
    GDF_ID { CHECK(gdf_check_condition_state_value($3)); }
    GDF_EOL { gdf_push_condition_state($1, $3); }
  ;

hier_condition_states
  : hier_condition_states_header '{' GDF_EOL hier_condition_state_lines '}' GDF_EOL
    { gdf_add_hier_condition_states(); }
  ;

hier_condition_states_header
  : GDF_HCONDSTATE GDF_ID { CHECK(gdf_check_condition_state_tag($2)); }
    { gdf_set_context($2, nullptr); }
  ;

hier_condition_state_lines
  : hier_condition_state_line
  | hier_condition_state_lines hier_condition_state_line
  ;

hier_condition_state_line
  : hier_entity GDF_ID { CHECK(gdf_check_condition_state_value($2)); }
    GDF_EOL { gdf_push_hier_value($2); }
  ;

flow_roles
  : flow_roles_header '{' GDF_EOL flow_role_lines '}' GDF_EOL { gdf_add_flow_roles(); }
  ;

flow_roles_header
  : GDF_HFLOWROLE { CHECK(gdf_check_registry(gdf_kFlowRoleRegistry)); }
    GDF_ID { CHECK(gdf_check_new_flow_role_tag($3)); }
    { gdf_set_context($3, nullptr); }
  ;

flow_role_lines
  : flow_role_line
  | flow_role_lines flow_role_line
  ;

flow_role_line
  : hier_entity GDF_ID { CHECK(gdf_check_flow_role_value($2)); }
    GDF_EOL { gdf_push_hier_value($2); }
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
// listed only when there are at most four of them. Without a look-ahead, or in
// a state that acts on no token in particular, the message is bare.
static int yyreport_syntax_error(const yypcontext_t* ctx) {
  enum { kMaxListed = 4 };
  char message[512] = "syntax error";
  const yysymbol_kind_t unexpected = yypcontext_token(ctx);
  if (unexpected != YYSYMBOL_YYEMPTY && yypcontext_expected_tokens(ctx, nullptr, 0) > 0) {
    std::strcat(message, ", unexpected ");
    std::strcat(message, symbol_name(unexpected));
    yysymbol_kind_t expected[kMaxListed];
    const int count = yypcontext_expected_tokens(ctx, expected, kMaxListed);
    for (int i = 0; i < count; ++i) {
      std::strcat(message, i == 0 ? ", expecting " : " or ");
      std::strcat(message, symbol_name(expected[i]));
    }
  }
  gdf_error(message);
  return 0;
}

const char* gdf_token_name(int code) { return symbol_name(YYTRANSLATE(code)); }
