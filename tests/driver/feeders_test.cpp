// Checks feedwalk's output on the IEEE feeder models against the model itself.
//
// While the program runs on a feeder, the test reads the same file into a grid
// and repeats the search to learn every entity's finishing number. Every
// written line must join two entities that meet at one connectivity node,
// name no OFF entity but a breaker, and lead from the entity finished first;
// the lines must be, node by node in entity order, the chains of the nodes
// whose neighbours were all finished, so that every reached device at such a
// node appears; and the counts must agree with the messages and the README.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <set>
#include <sstream>

#include "gdf/parse_to_grid.h"
#include "orient/slbfs.h"
#include "orient/slorient.h"
#include "registry/prop_registry.h"
#include "tests/driver/feedwalk_run.h"

namespace {

using namespace feedwalk_test;
using Entity = ZELT_Grid_EntityIter;

// Figures from the feeders' README: every entity but the OFF ones is reached.
struct FeederFacts {
  const char* file;
  int breakers, with_position, off, reached;
};
const FeederFacts kFeeders[] = {
    {"ieee13.gdf", 1, 2, 0, 53},       {"ieee34.gdf", 1, 1, 0, 150},         {"ieee37.gdf", 1, 1, 0, 112},
    {"ieee123.gdf", 1, 9, 2, 360},     {"ieee8500.gdf", 1, 74, 5, 11015},    {"ieee8500x20.gdf", 20, 1499, 119, 220262},
};
void PrintTo(const FeederFacts& facts, std::ostream* os) { *os << facts.file; }

// The small feeders travel with the sources; the large ones lie outside the
// repository and may be missing (an empty path then).
fs::path FeederFile(const std::string& name) {
  fs::path bundled = SourceDir() / "tests" / "driver" / "data" / name;
  if (fs::exists(bundled)) return bundled;
  if (name == "ieee123.gdf") return SourceDir() / "examples" / name;
  std::vector<fs::path> dirs{SourceDir() / ".." / "shared" / "data" / "feeders", "/work/shared/data/feeders"};
  if (const char* env = getenv("FEEDWALK_FEEDERS")) dirs.insert(dirs.begin(), env);
  for (const fs::path& dir : dirs) {
    if (fs::exists(dir / name)) return dir / name;
  }
  return {};
}

// The feeder read into a grid and searched from its breakers.
class FeederModel {
 public:
  explicit FeederModel(const fs::path& file) {
    builder.SetPropReg(registry);
    FILE* in = fopen(file.c_str(), "r");
    parsed = in != nullptr && builder.ParseGDF(in, nullptr);
    if (in != nullptr) fclose(in);
    root = gm.GetPrimeCircuitDef();
    int type = 0;
    registry.GetKeyAndType("SUBTYPECD", _subtype_key, type);
    registry.GetKeyAndType("NORMALPOSITION_A", _position_key, type);
    states = std::make_unique<ZELT_Grid_CondStateSetSL>(gm, root);
    depths = std::make_unique<ZELT_Grid_DefAssoc<long>>(gm, root, -1);
    std::vector<ZELT_Grid_HEntity> sources;
    for (Entity e = gm.GetFirstEntity(root); !gm.IsEnd(e); gm.NextEntity(root, e)) {
      ReadState(e);
      if (IsBreaker(e)) sources.push_back(MakeHEntity(gm, OneStep(e), root, e));
    }
    ZELT_Grid_DefAssoc<bool> visited(gm, root, false), touched(gm, root, false);
    VisitorSLOrient visitor(*states, *depths);
    ZELT_Grid_SLBFS_Base_Multi_Source(gm, sources, visitor, visited, touched);
    for (Entity e = gm.GetFirstEntity(root); !gm.IsEnd(e); gm.NextEntity(root, e)) reached += Number(e) >= 0;
  }

  long Number(const Entity& e) const { return (*depths)[e]; }
  bool IsOff(const Entity& e) const { return states->GetState(e) == OFF; }
  bool IsBreaker(const Entity& e) const {
    if (IntValue(e, _subtype_key) != 1 || !(gm.IsElementInst(root, e) || gm.IsCircuitInst(root, e))) return false;
    const char* type = gm.GetDefName(gm.GetDefinition(root, e));
    return type != nullptr && std::string(type).rfind("DynamicProtectiveDevice", 0) == 0;
  }
  // The distinct entities connected to e.
  std::vector<Entity> Neighbours(const Entity& e) const {
    std::vector<Entity> result;
    for (ZELT_Grid_ConnectionIter c = gm.GetFirstConnection(root, e); !gm.IsEnd(c); gm.NextConnection(root, e, c)) {
      Entity other = gm.GetConOtherEnd(root, e, c);
      if (std::find(result.begin(), result.end(), other) == result.end()) result.push_back(other);
    }
    return result;
  }

  ZELT_Grid gm;
  ZELT_Grid_GDF_ParseToGrid builder{gm};
  ZELT_MeMPropRegistry registry;
  bool parsed = false;
  ZELT_Grid_DefIter root;
  int with_position = 0, off = 0, reached = 0;

 private:
  // The entity's int32 value under key: none when absent, -1 for a value of another kind.
  std::optional<int> IntValue(const Entity& e, int key) const {
    ZELT_Grid_PropIter p = gm.GetProperty(root, e, key);
    if (gm.IsEnd(p)) return std::nullopt;
    const ZELT_Grid_PropData& v = gm.GetPropertyValue(root, e, p);
    return v.QType() == ZELT_Grid_PropData::int32 && !v.IsNull() ? v.QInt32() : -1;
  }
  void ReadState(const Entity& e) {
    std::optional<int> position = IntValue(e, _position_key);
    if (!position) return;
    ++with_position;
    off += *position != 1;
    states->SetState(e, *position == 1 ? ON : OFF);
  }
  ZELT_Grid_HEntity OneStep(const Entity& e) const {
    ZELT_Grid_HEntity h;
    ZELT_Grid_HEntityStep step;
    gm.InitHEntStep(step, root, e);
    h.AppendStep(step);
    return h;
  }

  int _subtype_key = -1, _position_key = -1;
  std::unique_ptr<ZELT_Grid_CondStateSetSL> states;
  std::unique_ptr<ZELT_Grid_DefAssoc<long>> depths;
};

// The written lines as pairs of entities of the model.
std::vector<std::pair<Entity, Entity>> ReadEdges(const FeederModel& model, const std::string& text) {
  std::string prefix = std::string(model.gm.GetDefName(model.root)) + ".";
  std::vector<std::pair<Entity, Entity>> edges;
  std::istringstream lines(text);
  for (std::string from, to; lines >> from >> to;) {
    Entity f = model.gm.GetEntityFromName(model.root, from.substr(prefix.size()).c_str());
    Entity t = model.gm.GetEntityFromName(model.root, to.substr(prefix.size()).c_str());
    EXPECT_TRUE(from.rfind(prefix, 0) == 0 && to.rfind(prefix, 0) == 0 && !model.gm.IsEnd(f) && !model.gm.IsEnd(t))
        << from << " " << to;
    edges.emplace_back(f, t);
  }
  return edges;
}

class FeederTest : public ::testing::TestWithParam<FeederFacts> {};

TEST_P(FeederTest, OutputHoldsTheOrientationsInvariants) {
  const FeederFacts& facts = GetParam();
  fs::path file = FeederFile(facts.file);
  if (file.empty()) GTEST_SKIP() << "feeder samples not found";
#if defined(__SANITIZE_ADDRESS__) || !defined(NDEBUG)
  if (std::string(facts.file) == "ieee8500x20.gdf") GTEST_SKIP() << "the tiled feeder runs in optimised builds only";
#endif

  ScratchDir dir;
  FeedwalkProcess feedwalk({file.string(), "out.edges"}, dir.path());
  FeederModel model(file);  // read while the program runs
  RunResult run = feedwalk.Wait();
  ASSERT_EQ(run.status, 0) << run.err;
  ASSERT_TRUE(model.parsed);
  std::string text = ReadFile(dir / "out.edges");
  std::vector<std::pair<Entity, Entity>> edges = ReadEdges(model, text);
  long lines = std::count(text.begin(), text.end(), '\n');
  EXPECT_EQ(static_cast<long>(edges.size()), lines);
  EXPECT_EQ(NumberAfter(run.err, "Finished orienting "), lines);
  EXPECT_EQ(NumberAfter(run.err, "Finished writing "), lines);
  EXPECT_EQ(NumberAfter(run.err, "INFO feedwalk:  "), facts.breakers);
  EXPECT_EQ(NumberAfter(run.err, "conductivity state for "), facts.with_position);
  EXPECT_EQ(model.with_position, facts.with_position);
  EXPECT_EQ(model.off, facts.off);
  EXPECT_EQ(model.reached, facts.reached);

  std::set<const void*> written;
  for (const auto& [from, to] : edges) {
    std::vector<Entity> from_around = model.Neighbours(from), to_around = model.Neighbours(to);
    EXPECT_TRUE(std::any_of(from_around.begin(), from_around.end(), [&](const Entity& n) {
      return model.gm.IsConnNode(model.root, n) && std::count(to_around.begin(), to_around.end(), n) > 0;
    })) << "edge between entities without a common node";
    EXPECT_TRUE(!model.IsOff(from) || model.IsBreaker(from));
    EXPECT_TRUE(!model.IsOff(to) || model.IsBreaker(to));
    EXPECT_LE(0, model.Number(from));
    EXPECT_LT(model.Number(from), model.Number(to));
    written.insert(from.CPOS());
    written.insert(to.CPOS());
  }

  size_t next = 0;
  auto by_number = [&](const Entity& a, const Entity& b) { return model.Number(a) < model.Number(b); };
  for (Entity n = model.gm.GetFirstEntity(model.root); !model.gm.IsEnd(n); model.gm.NextEntity(model.root, n)) {
    std::vector<Entity> around = model.Neighbours(n);
    if (!model.gm.IsConnNode(model.root, n) ||
        !std::all_of(around.begin(), around.end(), [&](const Entity& e) { return model.Number(e) >= 0; })) {
      continue;
    }
    for (const Entity& device : around) EXPECT_TRUE(around.size() < 2 || written.count(device.CPOS()));
    std::sort(around.begin(), around.end(), by_number);
    for (size_t i = 1; i < around.size() && next < edges.size(); ++i, ++next) {
      EXPECT_TRUE(edges[next].first == around[i - 1] && edges[next].second == around[i])
          << "line " << next + 1 << " is not in the chain of node " << model.gm.GetEntityName(model.root, n);
    }
  }
  EXPECT_EQ(next, edges.size());
}

INSTANTIATE_TEST_SUITE_P(Feeders, FeederTest, ::testing::ValuesIn(kFeeders),
                         [](const ::testing::TestParamInfo<FeederFacts>& info) {
                           std::string name = info.param.file;
                           return name.substr(0, name.find('.'));
                         });

}  // namespace
