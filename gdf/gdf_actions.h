// The GDF parser's state and the checks and actions that its grammar runs, one call per action.
#pragma once

#include <cstdint>

#include "gdf/gdf_values.h"

class ZELT_Grid_GDF_ParseToGrid;

// ---- The parse as its callers see it ----

// Starts a parse into builder: resets the parser state and the warning count.
void gdf_parse_init(ZELT_Grid_GDF_ParseToGrid* builder);
// Reads tokens from gdf_lex up to the end of input: 0 when the input is
// valid, 1 at the first syntax or check error, 2 when the parser stack is
// exhausted. Generated from gdf/gdf_parse.y.
int gdf_parse();
// The number of warnings of the last parse.
int gdf_parse_get_warnings();
// Releases what the parser state still holds (names of a statement that did
// not finish, the current context). Call it when a parse is done.
void gdf_parse_release();

// ---- Called by the grammar only ----
// Checks and actions that can fail report through gdf_error and return false;
// the grammar then stops. Texts passed as char* become the callee's, which
// releases them; const char* texts are borrowed.

// The kind of property statement being read.
enum PropAction { GDF_PROPSET_ADD = 0, GDF_PROP_ADD = 1, GDF_HPROP_ADD = 2, GDF_DEFPROP_ADD = 3 };

// Registries that statements may need attached to the builder.
enum gdf_Registry {
  gdf_kPropertyRegistry,
  gdf_kRootRegistry,
  gdf_kAssetClassRegistry,
  gdf_kTSSchemaRegistry,
  gdf_kTSExprRegistry,
  gdf_kSensorAssociations,
  gdf_kTSPropertyData,
  gdf_kFlowRoleRegistry,
};

bool gdf_check_registry(gdf_Registry registry);
// Sets the current definition (or property set, tag, schema) and instance;
// either may be null.
void gdf_set_context(char* context, char* instance);

// Structure.
bool gdf_check_new_definition(const char* name);
bool gdf_check_definition(const char* name);
bool gdf_check_parent_definition(const char* name);
bool gdf_check_instance_parent(const char* parent);
bool gdf_check_new_instance(const char* parent, const char* name);
bool gdf_check_instance_type(const char* parent, const char* type);
bool gdf_check_instance(const char* def, const char* name);
bool gdf_check_context_instance(const char* name);
bool gdf_check_container_instance(const char* def, const char* name);
bool gdf_check_terminal_count(int64_t count);
void gdf_push_name(char* name);
bool gdf_push_member(char* name);
void gdf_add_circuit(char* name);
bool gdf_start_section(char* name);
void gdf_end_section();
void gdf_add_element(char* name, int64_t terminals);
void gdf_set_root(char* def);
void gdf_add_instance(char* parent, char* name, char* type);
void gdf_push_terminal(char* instance, char* terminal);
bool gdf_push_terminal_number(char* instance, int64_t number);
bool gdf_add_connection(char* def, char* node);
void gdf_add_container();
void gdf_add_support();

// Hierarchical names.
void gdf_begin_hier_name(char* first, char* second);
void gdf_push_hier_name(char* name);
bool gdf_check_hier_entity();

// Properties and their values.
bool gdf_check_new_property(const char* name);
bool gdf_check_property_defined(const char* name);
void gdf_add_property(char* name, ZELT_Grid_ValueType type);
void gdf_add_ts_property(char* name, int field_type);
bool gdf_begin_property_statement(PropAction action);
bool gdf_select_property(char* name);
bool gdf_select_aux_property(char* name, ZELT_Grid_ValueType type);
bool gdf_value_null();
bool gdf_value_integer(int64_t value, bool beyond_32_bits);
bool gdf_value_real(double value);
bool gdf_value_string(char* text);
bool gdf_begin_number_list();
bool gdf_push_list_integer(int64_t value, bool beyond_32_bits);
bool gdf_push_list_real(double value);
bool gdf_value_number_list();
void gdf_apply_value();
bool gdf_check_property_set(const char* name);
bool gdf_apply_property_set(char* def, char* instance, char* set);
bool gdf_apply_hier_property_set(char* set);

// Asset classes.
bool gdf_check_new_asset_class(const char* name);
bool gdf_check_asset_class_target(const char* def);
bool gdf_check_asset_class(const char* name);
void gdf_add_asset_class(char* name);
void gdf_apply_asset_class(char* def, char* asset_class);

// Time series.
bool gdf_check_new_ts_schema(const char* name);
void gdf_set_db_schema(char* name);
bool gdf_set_db_schema_string(char* text);
void gdf_set_ts_name(char* name);
void gdf_begin_ts_schema(char* name, char* table, char* row_key_column);
void gdf_push_ts_field(char* name, int field_type);
bool gdf_add_ts_schema();
bool gdf_check_ts_schema(const char* name);
void gdf_push_sensor(int64_t sensor_id);
void gdf_add_sensor_association();
bool gdf_check_new_ts_expression(const char* name);
void gdf_add_ts_expression(char* name, int field_type, char* expression);
bool gdf_check_ts_field(const char* schema, const char* field);
void gdf_add_property_data_field(char* schema, char* field);
bool gdf_add_property_data_expression(char* expression);

// Conductivity states and flow roles.
bool gdf_check_condition_state_tag(const char* tag);
bool gdf_check_condition_state_value(const char* value);
void gdf_begin_condition_states(char* tag, char* def);
void gdf_push_condition_state(char* instance, char* value);
void gdf_add_condition_states();
void gdf_push_hier_value(char* value);
void gdf_add_hier_condition_states();
bool gdf_check_new_flow_role_tag(const char* tag);
bool gdf_check_flow_role_value(const char* value);
void gdf_add_flow_roles();
