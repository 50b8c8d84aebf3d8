// Corner cases of the ordered maps and the graphs found in review: slots that were never
// written, and other cases where a container has to carry what it was not given.
#include "tolk/rbtree.h"
#include "tolk/ugraph.h"

#include <gtest/gtest.h>

#include <vector>

// Slots of nodes made after an array start uninitialised and may stay so. Compaction must
// carry such a slot without loading it as a T: an indeterminate bool is undefined
// behaviour to load, which the sanitizer build reports.
TEST(AuditNodeArrays, CompactionCarriesSlotsThatWereNeverWritten) {
  tolk_ugraph_base g;
  std::vector<tolk_UNode> nodes;
  for (int i = 0; i < 10; ++i) nodes.push_back(g.NodeAppend());
  tolk_UNODEASSOC<bool> flags(g);
  tolk_UEDGEASSOC<bool> marks(g);
  for (int i = 0; i < 10; ++i) flags[nodes[i]] = i % 2 == 0;
  const tolk_UNode unwritten = g.NodeAppend();
  const tolk_UEdge kept = g.EdgeAppend(nodes[9], unwritten);
  marks[kept] = true;
  for (int i = 0; i < 4; ++i) g.EdgeAppend(nodes[8], unwritten);  // edge slots never written
  for (int i = 0; i < 9; ++i) g.NodeDelete(nodes[i]);            // compacts nodes, then edges

  ASSERT_EQ(g.NumberOfNodes(), 2u);
  EXPECT_EQ(tolk_UAssocArray_base::GetName(nodes[9]), 0u);  // renumbered
  EXPECT_FALSE(flags[nodes[9]]);
  EXPECT_TRUE(marks[kept]);
}
