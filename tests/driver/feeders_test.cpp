// Checks feedwalk's output on the IEEE feeder models against the model itself.
//
// For each feeder the program is run, and the same file is read into a grid
// here, where the search is repeated to learn every entity's finishing
// number. Every written line must then join two entities that meet at one
// connectivity node, name no OFF entity but a breaker, and lead from an
// entity finished earlier to one finished later; every reached device at a
// fully reached node must appear; and the counts must agree with the
// messages and with the feeders' README.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <set>
#include <sstream>

#include "gdf/parse_to_grid.h"
#include "orient/slbfs.h"
#include "orient/slorient.h"
#include "registry/prop_registry.h"
#include "tests/driver/feedwalk_run.h"

namespace {

using namespace feedwalk_test;

// Figures from the feeders' README.
struct FeederFacts {
  const char* file;
  int breakers;
  int with_position;  // entities with NORMALPOSITION_A
  int off;            // of those, the ones not 1
  int reached;
  int not_reached;
};

const FeederFacts kFeeders[] = {
    {"ieee13.gdf", 1, 2, 0, 53, 0},        {"ieee34.gdf", 1, 1, 0, 150, 0},
    {"ieee37.gdf", 1, 1, 0, 112, 0},       {"ieee123.gdf", 1, 9, 2, 360, 0},
    {"ieee8500.gdf", 1, 74, 5, 11015, 0},  {"ieee8500x20.gdf", 20, 1499, 119, 220262, 0},
};

void PrintTo(const FeederFacts& facts, std::ostream* os) { *os << facts.file; }

// The small feeders travel with the sources; the large ones are found beside them.
fs::path FeederFile(const std::string& name) {
  fs::path bundled = SourceDir() / "tests" / "driver" / "data" / name;
  if (fs::exists(bundled)) return bundled;
  if (name == "ieee123.gdf") return SourceDir() / "examples" / name;
  fs::path dir = FeedersDir();
  return dir.empty() ? fs::path() : dir / name;
}

bool SlowBuild() {
#if defined(__SANITIZE_ADDRESS__) || !defined(NDEBUG)
  return true;
#else
  return false;
#endif
}

// The feeder read into a grid, with each entity's state and finishing number.
class FeederModel {
 public:
  explicit FeederModel(const fs::path& file) : _builder(gm) {
    _builder.SetPropReg(_registry);
    FILE* in = fopen(file.c_str(), "r");
    parsed = in != nullptr && _builder.ParseGDF(in, nullptr);
    if (in != nullptr) fclose(in);
    root = gm.GetPrimeCircuitDef();
    _registry.GetKeyAndType("SUBTYPECD", _subtype_key, _type);
    _registry.GetKeyAndType("NORMALPOSITION_A", _position_key, _type);
    _states = std::make_unique<ZELT_Grid_CondStateSetSL>(gm, root);
    _depths = std::make_unique<ZELT_Grid_DefAssoc<long>>(gm, root, -1);
    ReadStates();
    Search();
  }

  int FinishingNumber(const ZELT_Grid_EntityIter& e) const { return (*_depths)[e]; }
  bool IsOff(const ZELT_Grid_EntityIter& e) const { return _states->GetState(e) == OFF; }
  bool IsBreaker(const ZELT_Grid_EntityIter& e) const { return std::count(breakers.begin(), breakers.end(), e) > 0; }
  int Reached() const {
    int n = 0;
    for (ZELT_Grid_EntityIter e = gm.GetFirstEntity(root); !gm.IsEnd(e); gm.NextEntity(root, e)) n += FinishingNumber(e) >= 0;
    return n;
  }
  int Entities() const {
    int n = 0;
    for (ZELT_Grid_EntityIter e = gm.GetFirstEntity(root); !gm.IsEnd(e); gm.NextEntity(root, e)) ++n;
    return n;
  }

  // The distinct entities connected to e.
  std::vector<ZELT_Grid_EntityIter> Neighbours(const ZELT_Grid_EntityIter& e) const {
    std::vector<ZELT_Grid_EntityIter> result;
    for (ZELT_Grid_ConnectionIter c = gm.GetFirstConnection(root, e); !gm.IsEnd(c); gm.NextConnection(root, e, c)) {
      ZELT_Grid_EntityIter other = gm.GetConOtherEnd(root, e, c);
      if (std::find(result.begin(), result.end(), other) == result.end()) result.push_back(other);
    }
    return result;
  }

  ZELT_Grid gm;
  bool parsed = false;
  ZELT_Grid_DefIter root;
  std::vector<ZELT_Grid_EntityIter> breakers;
  int with_position = 0;
  int off = 0;

 private:
  int32_t IntValue(ZELT_Grid_EntityIter e, int key) const {
    ZELT_Grid_PropIter p = gm.GetProperty(root, e, key);
    if (gm.IsEnd(p)) return INT32_MIN;
    const ZELT_Grid_PropData& v = gm.GetPropertyValue(root, e, p);
    return v.QType() == ZELT_Grid_PropData::int32 && !v.IsNull() ? v.QInt32() : INT32_MIN + 1;
  }

  void ReadStates() {
    for (ZELT_Grid_EntityIter e = gm.GetFirstEntity(root); !gm.IsEnd(e); gm.NextEntity(root, e)) {
      int32_t position = IntValue(e, _position_key);
      if (position != INT32_MIN) {
        ++with_position;
        off += position != 1;
        _states->SetState(e, position == 1 ? ON : OFF);
      }
      if (IntValue(e, _subtype_key) != 1 || gm.IsConnNode(root, e) || gm.IsTerminal(root, e)) continue;
      const char* type = gm.GetDefName(gm.GetDefinition(root, e));
      if (type != nullptr && std::string(type).rfind("DynamicProtectiveDevice", 0) == 0) breakers.push_back(e);
    }
  }

  void Search() {
    std::vector<ZELT_Grid_HEntity> sources;
    for (const ZELT_Grid_EntityIter& b : breakers) {
      ZELT_Grid_HEntityStep step;
      gm.InitHEntStep(step, root, b);
      sources.emplace_back();
      sources.back().AppendStep(step);
    }
    ZELT_Grid_DefAssoc<bool> visited(gm, root, false), touched(gm, root, false);
    VisitorSLOrient visitor(*_states, *_depths);
    ZELT_Grid_SLBFS_Base_Multi_Source(gm, sources, visitor, visited, touched);
  }

  ZELT_Grid_GDF_ParseToGrid _builder;
  ZELT_MeMPropRegistry _registry;
  int _subtype_key = -1, _position_key = -1, _type = 0;
  std::unique_ptr<ZELT_Grid_CondStateSetSL> _states;
  std::unique_ptr<ZELT_Grid_DefAssoc<long>> _depths;
};

class FeederTest : public ::testing::TestWithParam<FeederFacts> {
 protected:
  // The written lines as pairs of entities; fails the test on a name it cannot resolve.
  std::vector<std::pair<ZELT_Grid_EntityIter, ZELT_Grid_EntityIter>> ReadEdges(const FeederModel& model,
                                                                             const std::string& text) {
    std::string prefix = std::string(model.gm.GetDefName(model.root)) + ".";
    std::vector<std::pair<ZELT_Grid_EntityIter, ZELT_Grid_EntityIter>> edges;
    std::istringstream lines(text);
    std::string from, to;
    while (lines >> from >> to) {
      EXPECT_EQ(from.rfind(prefix, 0), 0u) << from;
      EXPECT_EQ(to.rfind(prefix, 0), 0u) << to;
      ZELT_Grid_EntityIter f = model.gm.GetEntityFromName(model.root, from.substr(prefix.size()).c_str());
      ZELT_Grid_EntityIter t = model.gm.GetEntityFromName(model.root, to.substr(prefix.size()).c_str());
      EXPECT_FALSE(model.gm.IsEnd(f) || model.gm.IsEnd(t)) << from << " " << to;
      if (!model.gm.IsEnd(f) && !model.gm.IsEnd(t)) edges.emplace_back(f, t);
    }
    return edges;
  }
};

TEST_P(FeederTest, OutputHoldsTheOrientationsInvariants) {
  const FeederFacts& facts = GetParam();
  fs::path file = FeederFile(facts.file);
  if (file.empty() || !fs::exists(file)) GTEST_SKIP() << "feeder samples not found";
  if (std::string(facts.file) == "ieee8500x20.gdf" && SlowBuild()) GTEST_SKIP() << "the tiled feeder runs in optimised builds only";

  ScratchDir dir;
  FeedwalkProcess feedwalk({file.string(), "out.edges"}, dir.path());
  FeederModel model(file);  // read while the program runs
  RunResult run = feedwalk.Wait();
  ASSERT_EQ(run.status, 0) << run.err;
  std::string text = ReadFile(dir / "out.edges");
  int lines = static_cast<int>(std::count(text.begin(), text.end(), '\n'));
  EXPECT_EQ(NumberAfter(run.err, "Finished orienting "), lines);
  EXPECT_EQ(NumberAfter(run.err, "Finished writing "), lines);
  EXPECT_EQ(NumberAfter(run.err, "INFO feedwalk:  "), facts.breakers);
  EXPECT_EQ(NumberAfter(run.err, "conductivity state for "), facts.with_position);

  ASSERT_TRUE(model.parsed);
  EXPECT_EQ(static_cast<int>(model.breakers.size()), facts.breakers);
  EXPECT_EQ(model.with_position, facts.with_position);
  EXPECT_EQ(model.off, facts.off);
  EXPECT_EQ(model.Reached(), facts.reached);
  EXPECT_EQ(model.Entities() - model.Reached() - facts.off, facts.not_reached);

  std::vector<std::pair<ZELT_Grid_EntityIter, ZELT_Grid_EntityIter>> edges = ReadEdges(model, text);
  ASSERT_EQ(static_cast<int>(edges.size()), lines);
  std::set<const void*> written;
  for (const auto& [from, to] : edges) {
    std::vector<ZELT_Grid_EntityIter> from_nodes = model.Neighbours(from), to_nodes = model.Neighbours(to);
    bool meet = std::any_of(from_nodes.begin(), from_nodes.end(), [&](const ZELT_Grid_EntityIter& n) {
      return model.gm.IsConnNode(model.root, n) && std::count(to_nodes.begin(), to_nodes.end(), n) > 0;
    });
    EXPECT_TRUE(meet) << "edge between entities without a common node";
    EXPECT_TRUE(!model.IsOff(from) || model.IsBreaker(from));
    EXPECT_TRUE(!model.IsOff(to) || model.IsBreaker(to));
    EXPECT_LE(0, model.FinishingNumber(from));
    EXPECT_LT(model.FinishingNumber(from), model.FinishingNumber(to));
    written.insert(from.CPOS());
    written.insert(to.CPOS());
  }

  // Nodes in entity order; a node whose neighbours were all finished chains
  // them in finishing order, and nothing else is written.
  size_t next = 0;
  auto by_number = [&](const ZELT_Grid_EntityIter& a, const ZELT_Grid_EntityIter& b) {
    return model.FinishingNumber(a) < model.FinishingNumber(b);
  };
  for (ZELT_Grid_EntityIter n = model.gm.GetFirstEntity(model.root); !model.gm.IsEnd(n); model.gm.NextEntity(model.root, n)) {
    if (!model.gm.IsConnNode(model.root, n)) continue;
    std::vector<ZELT_Grid_EntityIter> around = model.Neighbours(n);
    bool fully_reached = std::all_of(around.begin(), around.end(),
                                     [&](const ZELT_Grid_EntityIter& e) { return model.FinishingNumber(e) >= 0; });
    if (!fully_reached) continue;
    for (const ZELT_Grid_EntityIter& device : around) {
      EXPECT_TRUE(around.size() < 2 || written.count(device.CPOS()))
          << model.gm.GetEntityName(model.root, device) << " missing";
    }
    std::sort(around.begin(), around.end(), by_number);
    for (size_t i = 1; i < around.size() && next < edges.size(); ++i, ++next) {
      EXPECT_TRUE(edges[next].first == around[i - 1] && edges[next].second == around[i])
          << "line " << next + 1 << " is not the chain of node " << model.gm.GetEntityName(model.root, n);
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
