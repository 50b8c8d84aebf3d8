// The GDF parser's state, its statement checks with their messages, and the calls into the builder.
#include "gdf/gdf_actions.h"

#include <array>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "gdf/gdf_scan.h"
#include "gdf/parse_to_grid.h"
#include "tolk/assert.h"

namespace {

using Text = std::unique_ptr<char[], gdf_TextFree>;

// A terminal of a connection: (instance or none, terminal name), or
// (instance, terminal number) until the number is written out.
struct TerminalRef {
  Text instance;
  Text terminal;
  int64_t number = 0;
};

// Everything a parse keeps between the actions of one statement. One parse
// at a time per process, like the scanner's state.
// Whole cache lines of its own, away from the scanning thread's data.
struct alignas(64) ParserState {
  ZELT_Grid_GDF_ParseToGrid* gdf = nullptr;
  Text curr_context;  // definition, property set, schema, tag or property
  Text curr_instance;
  Text curr_section;  // lent to the builder while its section is read
  Text curr_tag;      // of a condstate block
  ZELT_Grid_HEntity curr_hent;
  ZELT_Grid_PropKeyAndType curr_prop{-1, ZELT_Grid_ValueType::none};
  PropAction curr_propaction = GDF_PROP_ADD;
  int warnings = 0;
  int64_t element_terminals = 0; // of the elements read so far
  char msg[133] = {};

  // The value of the property statement being read, and the text it may borrow.
  gdf_Value value;
  Text value_text;

  // Lists gathered over one statement.
  std::vector<Text> names;      // circuit terminals, members, condstate instances
  std::vector<Text> hier_names; // the dotted name being read
  std::vector<TerminalRef> terminals;
  std::vector<ZELT_Grid_HEntity> hents;
  std::vector<long> sensor_ids;
  std::vector<Text> values;     // condstate and flow-role values

  // tsschema operands and fields.
  Text db_schema, ts_table, ts_row_key, ts_name;
  std::vector<Text> field_names;
  std::vector<int> field_types;

  // Scratch arrays for the builder calls, kept to spare allocations.
  std::vector<const char*> borrowed;
  std::vector<std::array<char, 24>> numbers;
  std::vector<const ZELT_Grid_HEntity*> hent_pointers;

  void ReleaseStatement() {
    names.clear();
    hier_names.clear();
    terminals.clear();
    hents.clear();
    sensor_ids.clear();
    values.clear();
    field_names.clear();
    field_types.clear();
    value_text.reset();
    db_schema.reset();
    ts_table.reset();
    ts_row_key.reset();
    ts_name.reset();
  }

  void Release() {
    ReleaseStatement();
    curr_context.reset();
    curr_instance.reset();
    curr_section.reset();
    curr_tag.reset();
    curr_hent.Reset();
  }
};

ParserState S;

// ---- Reports ----

bool Fail(const char* message) {
  gdf_error(message);
  return false;
}

// Formatted messages are cut to 131 characters.
[[gnu::format(printf, 1, 2)]] bool FailFormatted(const char* format, ...) {
  va_list args;
  va_start(args, format);
  vsnprintf(S.msg, 132, format, args);
  va_end(args);
  return Fail(S.msg);
}

bool Check(bool ok, const char* message) { return ok || Fail(message); }

bool InPropertySet() { return S.curr_propaction == GDF_PROPSET_ADD; }

ZELT_Grid_ValueType CurrentType() { return S.curr_prop.type; }

// Prints a coercion's warning or error, which names the property's type.
bool Report(const gdf_Verdict& verdict) {
  if (verdict.kind == gdf_Verdict::kAccepted) return true;
  snprintf(S.msg, 132, verdict.format, gdf_type_name(CurrentType()));
  gdf_error(S.msg);
  if (verdict.kind == gdf_Verdict::kError) return false;
  ++S.warnings;
  // A warning that leaves a null would give the set a null member.
  if (InPropertySet() && S.value.form == gdf_Value::kText && S.value.text == nullptr)
    return Fail("ERROR: Value of a property set member may not be NULL");
  return true;
}

// ---- Lists handed to the builder ----

const char** Borrow(const std::vector<Text>& texts) {
  S.borrowed.clear();
  for (const Text& text : texts) S.borrowed.push_back(text.get());
  return S.borrowed.data();
}

// (instance or none, terminal) pairs; numbered terminals by their decimal text.
const char** BorrowTerminals() {
  S.numbers.resize(S.terminals.size());
  S.borrowed.clear();
  for (size_t i = 0; i < S.terminals.size(); ++i) {
    const TerminalRef& ref = S.terminals[i];
    S.borrowed.push_back(ref.instance.get());
    if (ref.terminal) {
      S.borrowed.push_back(ref.terminal.get());
    } else {
      char* digits = S.numbers[i].data();
      *std::to_chars(digits, digits + S.numbers[i].size() - 1, ref.number).ptr = '\0';
      S.borrowed.push_back(digits);
    }
  }
  return S.borrowed.data();
}

const ZELT_Grid_HEntity** BorrowHEnts() {
  S.hent_pointers.clear();
  for (const ZELT_Grid_HEntity& hent : S.hents) S.hent_pointers.push_back(&hent);
  return S.hent_pointers.data();
}

int Count(size_t size) { return static_cast<int>(size); }

// ---- Properties ----

ZELT_Grid_PropKeyAndType ValueKey() { return {S.curr_prop.key, S.value.type}; }

// The property must not be on the statement's target yet, and the target must
// have room for it.
bool CheckNotOnTarget() {
  const int key = S.curr_prop.key;
  const char* def = S.curr_context.get();
  switch (S.curr_propaction) {
    case GDF_PROP_ADD:
      return Check(!S.gdf->InstHasProp(def, S.curr_instance.get(), key), "Property already exists on instance") &&
             Check(!S.gdf->InstPropsFull(def, S.curr_instance.get()),
                   "ERROR: An instance may carry at most 4096 properties");
    case GDF_HPROP_ADD:
      return Check(!S.gdf->HInstHasProp(S.curr_hent, key), "Property already exists on hierarchical instance") &&
             Check(!S.gdf->HInstPropsFull(S.curr_hent),
                   "ERROR: A hierarchical instance may carry at most 4096 properties");
    case GDF_DEFPROP_ADD:
      return Check(!S.gdf->DefHasProp(def, key), "Property already exists on definition") &&
             Check(!S.gdf->DefPropsFull(def), "ERROR: A definition may carry at most 4096 properties");
    case GDF_PROPSET_ADD:
      return true;
  }
  return true;
}

template <class... Args>
void Dispatch(Args... args) {
  switch (S.curr_propaction) {
    case GDF_PROPSET_ADD:
      S.gdf->AddPropToPropset(S.curr_context.get(), ValueKey(), args...);
      break;
    case GDF_PROP_ADD:
      S.gdf->AddPropadd(S.curr_context.get(), S.curr_instance.get(), ValueKey(), args...);
      break;
    case GDF_HPROP_ADD:
      S.gdf->AddHPropadd(S.curr_hent, ValueKey(), args...);
      break;
    case GDF_DEFPROP_ADD:
      S.gdf->AddDefPropadd(S.curr_context.get(), ValueKey(), args...);
      break;
  }
}

const char* const kMissingRegistry[] = {
    "ERROR: No property registry attached",
    "ERROR: No root registry attached",
    "ERROR: No asset-class registry attached",
    "ERROR: No time-series schema registry attached",
    "ERROR: No time-series expression registry attached",
    "ERROR: No sensor association map attached",
    "ERROR: No time-series property data attached",
    "ERROR: No flow-role registry attached",
};

bool CheckAttached(gdf_Registry registry) {
  return Check(S.gdf->HasRegistry(registry), kMissingRegistry[registry]);
}

} // namespace

// ---- The parse as its callers see it ----

void gdf_parse_init(ZELT_Grid_GDF_ParseToGrid* builder) {
  TOLK_ASSERT(builder != nullptr, "gdf_parse_init: no builder");
  S.Release();
  S.gdf = builder;
  S.warnings = 0;
  S.element_terminals = 0;
}

int gdf_parse_get_warnings() { return S.warnings; }

void gdf_parse_release() { S.Release(); }

// ---- Registries and context ----

bool gdf_check_registry(gdf_Registry registry) {
  // Statements that read one registry through another need both.
  if (registry == gdf_kTSPropertyData && !CheckAttached(gdf_kPropertyRegistry)) return false;
  if (registry == gdf_kSensorAssociations && !CheckAttached(gdf_kTSSchemaRegistry)) return false;
  return CheckAttached(registry);
}

void gdf_set_context(char* context, char* instance) {
  S.curr_context.reset(context);
  S.curr_instance.reset(instance);
}

// ---- Structure ----

bool gdf_check_new_definition(const char* name) {
  return Check(!S.gdf->HaveDef(name, false), "ERROR: Definition exists");
}

bool gdf_check_definition(const char* name) { return Check(S.gdf->HaveDef(name, true), "ERROR: Definition unknown"); }

bool gdf_check_parent_definition(const char* name) {
  return Check(S.gdf->HaveDef(name, true), "ERROR: Parent definition unknown");
}

bool gdf_check_instance_parent(const char* parent) {
  return gdf_check_parent_definition(parent) &&
         Check(!S.gdf->IsElement(parent, false), "ERROR: Parent is an element and cannot contain instances");
}

bool gdf_check_new_instance(const char* parent, const char* name) {
  return Check(!S.gdf->HaveInst(parent, name, false), "ERROR: Instance exists");
}

bool gdf_check_instance_type(const char* parent, const char* type) {
  return Check(S.gdf->HaveDef(type, true), "ERROR: Instance definition unknown") &&
         Check(strcmp(type, parent) != 0, "ERROR: Cannot declare instance of a circuit within or below its own context");
}

bool gdf_check_instance(const char* def, const char* name) {
  return Check(S.gdf->HaveInst(def, name, true), "ERROR: Instance unknown");
}

bool gdf_check_context_instance(const char* name) { return gdf_check_instance(S.curr_context.get(), name); }

bool gdf_check_container_instance(const char* def, const char* name) {
  return Check(S.gdf->HaveInst(def, name, true), "ERROR: Container instance unknown");
}

// Every terminal costs the grid an entity and a connection, so a few short
// lines could otherwise ask for gigabytes. Element definitions are device
// types with a handful of terminals each; the budget leaves ample room.
bool gdf_check_terminal_count(int64_t count) {
  if (!Check(count >= 0, "ERROR: Must be non-negative integer value") ||
      !Check(count <= ZELT_Grid_GDF_ParseToGrid::kMaxElementTerminals,
             "ERROR: An element may have at most 65535 terminals"))
    return false;
  S.element_terminals += count;
  return Check(S.element_terminals <= ZELT_Grid_GDF_ParseToGrid::kMaxElementTerminalsPerParse,
               "ERROR: The elements of one text may have at most 262144 terminals in all");
}

void gdf_push_name(char* name) { S.names.emplace_back(name); }

bool gdf_push_member(char* name) {
  S.names.emplace_back(name);
  return gdf_check_context_instance(name);
}

void gdf_add_circuit(char* name) {
  Text owned(name);
  S.gdf->AddCkt(name, static_cast<unsigned>(S.names.size()), Borrow(S.names));
  S.names.clear();
}

bool gdf_start_section(char* name) {
  S.curr_section.reset(name);
  // Element definitions carry the section's name as a text value.
  if (strlen(name) > size_t(gdf_kMaxStringLength))
    return Fail("ERROR: A section name may hold at most 65535 characters");
  S.gdf->StartSection(name);
  return true;
}

void gdf_end_section() {
  S.gdf->EndSection(S.curr_section.get());
  S.curr_section.reset();
}

void gdf_add_element(char* name, int64_t terminals) {
  Text owned(name);
  S.gdf->AddElem(name, static_cast<long>(terminals));
}

void gdf_set_root(char* def) {
  Text owned(def);
  S.gdf->SetRoot(def);
}

void gdf_add_instance(char* parent, char* name, char* type) {
  Text owned_parent(parent), owned_name(name), owned_type(type);
  S.gdf->AddInst(parent, name, type);
}

void gdf_push_terminal(char* instance, char* terminal) {
  S.terminals.push_back({Text(instance), Text(terminal), 0});
}

bool gdf_push_terminal_number(char* instance, int64_t number) {
  S.terminals.push_back({Text(instance), nullptr, number});
  return Check(number >= 0, "ERROR: Must be non-negative integer value");
}

bool gdf_add_connection(char* def, char* node) {
  Text owned_def(def), owned_node(node);
  const bool added = S.gdf->AddConn(def, node, Count(S.terminals.size()), BorrowTerminals());
  S.terminals.clear();
  // The builder has said what went wrong; the report only marks the line.
  return added || Fail("");
}

void gdf_add_container() {
  S.gdf->AddContainer(S.curr_context.get(), S.curr_instance.get(), Count(S.names.size()), Borrow(S.names));
  S.names.clear();
}

void gdf_add_support() {
  S.gdf->AddSupportRelation(S.curr_context.get(), S.curr_instance.get(), Count(S.names.size()), Borrow(S.names));
  S.names.clear();
}

// ---- Hierarchical names ----

void gdf_begin_hier_name(char* first, char* second) {
  S.hier_names.clear();
  S.hier_names.emplace_back(first);
  S.hier_names.emplace_back(second);
}

void gdf_push_hier_name(char* name) { S.hier_names.emplace_back(name); }

bool gdf_check_hier_entity() {
  const char** names = Borrow(S.hier_names);
  const bool found = S.gdf->FindHEntPath(names[0], Count(S.hier_names.size()) - 1, names + 1, S.curr_hent);
  S.hier_names.clear();
  return Check(found, "ERROR: Hierarchical instance unknown");
}

// ---- Properties and their values ----

bool gdf_check_new_property(const char* name) {
  return Check(S.gdf->CheckProp(name).key == -1, "ERROR: Duplicate property name");
}

bool gdf_check_property_defined(const char* name) {
  S.curr_prop = S.gdf->CheckProp(name);
  return Check(S.curr_prop.key != -1, "ERROR: Property is not defined");
}

void gdf_add_property(char* name, ZELT_Grid_ValueType type) {
  Text owned(name);
  S.gdf->AddProp(name, type, ZELT_PropType::STATIC);
}

void gdf_add_ts_property(char* name, int field_type) {
  Text owned(name);
  S.gdf->AddProp(name, ZELT_Grid_ValueType(field_type), ZELT_PropType::TS);
}

bool gdf_begin_property_statement(PropAction action) {
  S.curr_propaction = action;
  return gdf_check_registry(gdf_kPropertyRegistry);
}

bool gdf_select_property(char* name) {
  Text owned(name);
  if (!gdf_check_property_defined(name)) return false;
  // Reserved keys hold the grid's own sections and support lists, and time-series
  // properties take their values from their data sources: neither takes a value here.
  if (S.curr_prop.key < ZELT_NUM_RESERVED_PROPS)
    return Fail("ERROR: Property is reserved for the grid model");
  if (S.gdf->IsTSProp(name)) return Fail("ERROR: Property is a time-series property and takes no value here");
  return CheckNotOnTarget();
}

bool gdf_select_aux_property(char* name, ZELT_Grid_ValueType type) {
  Text owned(name);
  S.curr_prop = {S.gdf->FindOrCreateSpecialProp(name, type), type};
  return CheckNotOnTarget();
}

bool gdf_value_null() {
  if (InPropertySet()) return Fail("ERROR: Value of a property set member may not be NULL");
  gdf_make_null(S.value);
  return true;
}

bool gdf_value_integer(int64_t value, bool beyond_32_bits) {
  return Report(gdf_coerce_integer(value, beyond_32_bits, CurrentType(), S.value));
}

bool gdf_value_real(double value) { return Report(gdf_coerce_real(value, CurrentType(), S.value)); }

bool gdf_value_string(char* text) {
  S.value_text.reset(text);
  return Report(gdf_coerce_text(text, CurrentType(), InPropertySet(), S.value));
}

bool gdf_begin_number_list() { return Report(gdf_begin_list(CurrentType(), S.value)); }

bool gdf_push_list_integer(int64_t value, bool beyond_32_bits) {
  return Report(gdf_push_list_integer(value, beyond_32_bits, S.value));
}

bool gdf_push_list_real(double value) { return Report(gdf_push_list_real(value, S.value)); }

bool gdf_value_number_list() {
  return Check(!InPropertySet() || gdf_list_text_length(S.value) <= size_t(gdf_kMaxListTextLength),
               "ERROR: A number list in a property set may take at most 4095 characters");
}

void gdf_apply_value() {
  const gdf_Value& v = S.value;
  switch (v.form) {
    case gdf_Value::kInteger:
      Dispatch(static_cast<long>(v.integer));
      break;
    case gdf_Value::kReal:
      Dispatch(v.real);
      break;
    case gdf_Value::kText:
      Dispatch(v.text);
      break;
    case gdf_Value::kIntegers:
      Dispatch(Count(v.integers.size()), v.integers.data());
      break;
    case gdf_Value::kReals:
      Dispatch(Count(v.reals.size()), v.reals.data());
      break;
  }
  S.value_text.reset();
}

bool gdf_check_property_set(const char* name) { return Check(S.gdf->HavePropSet(name), "ERROR: Property set unknown"); }

bool gdf_apply_property_set(char* def, char* instance, char* set) {
  Text owned_def(def), owned_instance(instance), owned_set(set);
  return S.gdf->AddPropSetadd(def, instance, set) || Fail("");
}

bool gdf_apply_hier_property_set(char* set) {
  Text owned(set);
  return S.gdf->AddHPropSetadd(S.curr_hent, set) || Fail("");
}

// ---- Asset classes ----

bool gdf_check_new_asset_class(const char* name) {
  return Check(!S.gdf->CheckAssetClass(name), "ERROR: Duplicate asset class name");
}

bool gdf_check_asset_class_target(const char* def) {
  return gdf_check_definition(def) &&
         Check(!S.gdf->DefHasAssetClass(def), "ERROR: Asset class already applied to this definition");
}

bool gdf_check_asset_class(const char* name) { return Check(S.gdf->CheckAssetClass(name), "ERROR: Asset class is unknown"); }

void gdf_add_asset_class(char* name) {
  Text owned(name);
  S.gdf->AddAssetClass(name);
}

void gdf_apply_asset_class(char* def, char* asset_class) {
  Text owned_def(def), owned_class(asset_class);
  S.gdf->AddAssetClassAdd(def, asset_class);
}

// ---- Time series ----

bool gdf_check_new_ts_schema(const char* name) {
  return Check(!S.gdf->HaveTSSchema(name), "ERROR: TS schema name has already been registered");
}

void gdf_set_db_schema(char* name) { S.db_schema.reset(name); }

bool gdf_set_db_schema_string(char* text) {
  Text owned(text);
  return Check(text[0] == '\0', "ERROR: Expecting an identifier, null token (--) or empty string (\"\" - DEPRECATED)");
}

void gdf_set_ts_name(char* name) { S.ts_name.reset(name); }

void gdf_begin_ts_schema(char* name, char* table, char* row_key_column) {
  S.curr_context.reset(name);
  S.ts_table.reset(table);
  S.ts_row_key.reset(row_key_column);
}

void gdf_push_ts_field(char* name, int field_type) {
  S.field_names.emplace_back(name);
  S.field_types.push_back(field_type);
}

bool gdf_add_ts_schema() {
  const bool added =
      S.gdf->AddTSSchema(S.curr_context.get(), S.db_schema.get(), S.ts_table.get(), S.ts_row_key.get(),
                         S.ts_name.get(), Count(S.field_names.size()), Borrow(S.field_names), S.field_types.data());
  S.ReleaseStatement();
  return added || Fail("");
}

bool gdf_check_ts_schema(const char* name) {
  return S.gdf->HaveTSSchema(name) || FailFormatted("ERROR: TS schema name '%s' is not defined", name);
}

void gdf_push_sensor(int64_t sensor_id) {
  S.hents.push_back(S.curr_hent);
  S.sensor_ids.push_back(static_cast<long>(sensor_id));
}

void gdf_add_sensor_association() {
  S.gdf->AddHTSAssoc(S.curr_context.get(), Count(S.hents.size()), BorrowHEnts(), S.sensor_ids.data());
  S.ReleaseStatement();
}

bool gdf_check_new_ts_expression(const char* name) {
  return Check(!S.gdf->HaveTSExpr(name), "ERROR: Duplicate tsexpr name");
}

void gdf_add_ts_expression(char* name, int field_type, char* expression) {
  Text owned_name(name), owned_expression(expression);
  S.gdf->AddTSExpr(name, ZELT_Grid_ValueType(field_type), expression);
}

bool gdf_check_ts_field(const char* schema, const char* field) {
  return CheckAttached(gdf_kTSSchemaRegistry) && gdf_check_ts_schema(schema) &&
         Check(S.gdf->HaveTSField(schema, field), "ERROR: TS field name not defined");
}

void gdf_add_property_data_field(char* schema, char* field) {
  Text owned_schema(schema), owned_field(field);
  S.gdf->AddTSPropdata(S.curr_context.get(), schema, field);
}

bool gdf_add_property_data_expression(char* expression) {
  Text owned(expression);
  if (!CheckAttached(gdf_kTSExprRegistry) || !Check(S.gdf->HaveTSExpr(expression), "ERROR: TS expr not defined"))
    return false;
  S.gdf->AddTSPropdata(S.curr_context.get(), expression);
  return true;
}

// ---- Conductivity states and flow roles ----

bool gdf_check_condition_state_tag(const char* tag) {
  return Check(!S.gdf->HaveCondstate(tag), "ERROR: Duplicate condstate tag");
}

bool gdf_check_condition_state_value(const char* value) {
  return Check(S.gdf->IsValidCondstate(value), "ERROR: Invalid condstate value");
}

void gdf_begin_condition_states(char* tag, char* def) {
  S.curr_tag.reset(tag);
  gdf_set_context(def, nullptr);
}

void gdf_push_condition_state(char* instance, char* value) {
  S.names.emplace_back(instance);
  S.values.emplace_back(value);
}

void gdf_add_condition_states() {
  std::vector<const char*> values;
  for (const Text& value : S.values) values.push_back(value.get());
  S.gdf->AddCondstate(S.curr_tag.get(), S.curr_context.get(), Count(S.names.size()), Borrow(S.names), values.data());
  S.ReleaseStatement();
}

void gdf_push_hier_value(char* value) {
  S.hents.push_back(S.curr_hent);
  S.values.emplace_back(value);
}

void gdf_add_hier_condition_states() {
  S.gdf->AddHCondstate(S.curr_context.get(), Count(S.hents.size()), BorrowHEnts(), Borrow(S.values));
  S.ReleaseStatement();
}

bool gdf_check_new_flow_role_tag(const char* tag) {
  return Check(!S.gdf->HaveHflowroleTag(tag), "ERROR: Duplicate flow role tag");
}

bool gdf_check_flow_role_value(const char* value) {
  return Check(S.gdf->IsValidHflowrole(value), "ERROR: Invalid flow role value");
}

void gdf_add_flow_roles() {
  S.gdf->AddHflowrole(S.curr_context.get(), Count(S.hents.size()), BorrowHEnts(), Borrow(S.values));
  S.ReleaseStatement();
}
