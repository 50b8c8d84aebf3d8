// Red-black maps of both families: invariants after long random runs, agreement with std::map and
// std::multimap, neighbour searches and iterator stability.
#include "tolk/rbtree.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <vector>

namespace {

const ZELT_Grid_IntComparator intCmp;

typedef tolk_TRBTREE<int, int, ZELT_Grid_IntComparator> TTree;
typedef tolk_RBTREE<int, int> VTree;

// Walks the tree from its root and checks every red-black property, the parent links, the key order and
// that the family's sentinel still holds its constant shape. Answers the number of entries.
template <class Tree>
class TreeChecker {
  typedef typename Tree::NodeBase Node;
  typedef typename Node::Color Color;

 public:
  explicit TreeChecker(const Tree& tree) : tree_(tree) {}

  long Check() {
    const Node* nil = Tree::Nil();
    EXPECT_EQ(nil->left, nil);
    EXPECT_EQ(nil->right, nil);
    EXPECT_EQ(nil->parent, nullptr);
    EXPECT_EQ(nil->color, Color::BLACK);
    count_ = 0;
    if (tree_.root == nil) return 0;
    EXPECT_EQ(tree_.root->parent, nullptr);
    EXPECT_EQ(tree_.root->color, Color::BLACK);
    BlackHeight(tree_.root);
    long walked = 0;
    int previous = 0;
    for (auto it = tree_.First(); !it.End(); it.Next(), ++walked) {
      if (walked > 0) {
        EXPECT_LE(previous, Tree::Key(it));
      }
      previous = Tree::Key(it);
    }
    EXPECT_EQ(walked, count_);
    return count_;
  }

 private:
  int BlackHeight(const Node* n) {
    if (n == Tree::Nil()) return 1;
    ++count_;
    for (const Node* child : {n->left, n->right}) {
      if (child == Tree::Nil()) continue;
      EXPECT_EQ(child->parent, n);
      if (n->color == Color::RED) {
        EXPECT_EQ(child->color, Color::BLACK) << "red node with a red child";
      }
    }
    int left = BlackHeight(n->left);
    int right = BlackHeight(n->right);
    EXPECT_EQ(left, right) << "black heights differ";
    return left + (n->color == Color::BLACK ? 1 : 0);
  }

  const Tree& tree_;
  long count_ = 0;
};

template <class Tree>
long CheckTree(const Tree& tree) {
  return TreeChecker<Tree>(tree).Check();
}

template <class Tree>
std::vector<std::pair<int, int>> Entries(const Tree& t) {
  std::vector<std::pair<int, int>> out;
  for (auto it = t.First(); !it.End(); it.Next()) out.emplace_back(Tree::Key(it), Tree::Value(it));
  return out;
}

template <class Model>
std::vector<std::pair<int, int>> Entries(const Model& m, int) {
  return std::vector<std::pair<int, int>>(m.begin(), m.end());
}

template <class Tree>
class BothFamilies : public testing::Test {};
typedef testing::Types<TTree, VTree> TreeTypes;
TYPED_TEST_SUITE(BothFamilies, TreeTypes);

}  // namespace

// Deletion's answers and the walk in both directions; the random runs below check the rest against std::map.
TYPED_TEST(BothFamilies, DeleteAnswersAndPositions) {
  TypeParam t(&intCmp);
  EXPECT_TRUE(t.First().End());
  for (int k = 1; k <= 5; ++k) t.Insert(k, k);
  EXPECT_EQ(t.Delete(9), 1);
  EXPECT_EQ(t.Delete(3), 0);
  auto end = t.First();
  end.MakeEnd();
  EXPECT_EQ(t.Delete(end), 1);
  EXPECT_EQ(t.Delete(t.ElemSearch(1)), 0);
  EXPECT_EQ(Entries(t), (std::vector<std::pair<int, int>>{{2, 2}, {4, 4}, {5, 5}}));

  auto it = t.First();
  EXPECT_TRUE(it.Previous().End());
  it.Last(t);
  EXPECT_EQ(TypeParam::Key(it), 5);
  EXPECT_EQ(TypeParam::Key(it.Previous()), 4);
  auto first = t.First();
  EXPECT_TRUE(first < it || first > it);
  EXPECT_EQ(first, t.ElemSearch(2));
}

// Long random runs of insertions (which never overwrite), deletions and neighbour searches against
// std::map, invariants checked throughout.
TYPED_TEST(BothFamilies, RandomRunsMatchStdMap) {
  std::mt19937 rng(1234);
  TypeParam t(&intCmp);
  std::map<int, int> model;
  for (int step = 0; step < 30000; ++step) {
    int k = static_cast<int>(rng() % 2000);
    switch (rng() % 4) {
      case 0:
      case 1: {
        int* stored = t.Insert(k, step);
        auto [pos, made] = model.emplace(k, step);
        ASSERT_EQ(stored == nullptr, made);
        if (!made) {
          ASSERT_EQ(*stored, pos->second);
        }
        break;
      }
      case 2:
        ASSERT_EQ(t.Delete(k), model.erase(k) ? 0 : 1);
        break;
      default: {
        int* found = t.Search(k);
        auto m = model.find(k);
        ASSERT_EQ(found != nullptr, m != model.end());
        if (found) {
          ASSERT_EQ(*found, m->second);
        }
        auto pred = t.ElemSearchPred(k);
        auto upper = model.upper_bound(k);
        ASSERT_EQ(pred.End(), upper == model.begin());
        if (!pred.End()) {
          ASSERT_EQ(TypeParam::Key(pred), std::prev(upper)->first);
        }
        auto succ = t.ElemSearchSucc(k);
        auto lower = model.lower_bound(k);
        ASSERT_EQ(succ.End(), lower == model.end());
        if (!succ.End()) {
          ASSERT_EQ(TypeParam::Key(succ), lower->first);
        }
      }
    }
    if (step % 1000 == 0) {
      ASSERT_EQ(CheckTree(t), static_cast<long>(model.size()));
    }
  }
  ASSERT_EQ(Entries(t), Entries(model, 0));
  // Drain completely, so that removal is exercised down to the empty tree.
  while (!model.empty()) {
    auto victim = std::next(model.begin(), static_cast<long>(rng() % model.size()));
    ASSERT_EQ(t.Delete(victim->first), 0);
    model.erase(victim);
    if (model.size() % 97 == 0) {
      ASSERT_EQ(CheckTree(t), static_cast<long>(model.size()));
    }
  }
  EXPECT_TRUE(t.Empty());
  EXPECT_EQ(t.root, TypeParam::Nil());
}

// Equal keys come out newest first; deletions go through the position that ElemSearch finds.
TYPED_TEST(BothFamilies, RandomMultiRunsMatchStdMultimap) {
  std::mt19937 rng(99);
  TypeParam t(&intCmp);
  std::multimap<int, int> model;
  for (int step = 0; step < 20000; ++step) {
    int k = static_cast<int>(rng() % 200);
    if (rng() % 3 != 0) {
      t.InsertMulti(k, step);
      model.emplace_hint(model.lower_bound(k), k, step);  // in front of its equals
    } else {
      auto it = t.ElemSearch(k);
      auto range = model.equal_range(k);
      ASSERT_EQ(it.End(), range.first == range.second);
      if (it.End()) continue;
      int value = TypeParam::Value(it);
      auto victim = range.first;
      while (victim != range.second && victim->second != value) ++victim;
      ASSERT_NE(victim, range.second) << "found an entry the model does not have";
      model.erase(victim);
      ASSERT_EQ(t.Delete(it), 0);
    }
    if (step % 1000 == 0) {
      ASSERT_EQ(CheckTree(t), static_cast<long>(model.size()));
    }
  }
  EXPECT_EQ(Entries(t), Entries(model, 0));
}

// Removing a node with two children moves its successor into its place; every other entry keeps its
// node, so positions and value addresses survive.
TYPED_TEST(BothFamilies, PositionsSurviveRemovalOfTwoChildNodes) {
  TypeParam t(&intCmp);
  for (int k = 0; k < 500; ++k) t.Insert((k * 7919) % 500, k);
  std::map<int, std::pair<decltype(t.First()), int*>> kept;
  for (auto it = t.First(); !it.End(); it.Next()) kept[TypeParam::Key(it)] = {it, &TypeParam::Value(it)};

  int removed = 0;
  while (removed < 200) {
    auto it = t.First();
    while (!it.End() && (it.pos->left == TypeParam::Nil() || it.pos->right == TypeParam::Nil())) it.Next();
    ASSERT_FALSE(it.End());
    kept.erase(TypeParam::Key(it));
    ASSERT_EQ(t.Delete(it), 0);
    ++removed;
    if (removed % 50 == 0) {
      for (auto& [key, where] : kept) {
        ASSERT_EQ(TypeParam::Key(where.first), key);
        ASSERT_EQ(&TypeParam::Value(where.first), where.second);
      }
      ASSERT_EQ(CheckTree(t), static_cast<long>(kept.size()));
    }
  }
}
