// Text forms of hierarchical entities and connection instances: the name path
// for people and the id path for storage, in both directions.
#pragma once

#include <cstdio>
#include <string>

#include "grid/grid.h"

class ZELT_Grid_Util {
 public:
  // "Def.ent1.ent2": the definition name of step 0, then every step's entity
  // name; "{}" stands for a missing name. An empty path gives "".
  static std::string HEntToString(const ZELT_Grid_HEntity& I, const ZELT_Grid& gm);
  // The same name path appended to out.
  static void AppendHEnt(std::string& out, const ZELT_Grid_HEntity& I, const ZELT_Grid& gm);
  // Writes the name path to fp (no line end).
  static void PrintHEnt(const ZELT_Grid_HEntity& I, FILE* fp, const ZELT_Grid& gm);
  // Sets instpath to the id path "defid.entid1.entid2", every id as its low 32
  // bits in signed decimal; leaves instpath alone for an empty path.
  static void ParseHEnt(const ZELT_Grid& gm, std::string& instpath, const ZELT_Grid_HEntity& I);
  // Rebuilds I from an id path, consuming instpath. False for an empty text, an
  // unknown definition or an entity id the current definition lacks (I then
  // holds the steps resolved so far).
  static bool ParseStrHEnt(ZELT_Grid& gm, std::string& instpath, ZELT_Grid_HEntity& I);

  // The name path of the instance path (the leaf definition's name when it is
  // empty), ".", and the connection id.
  static void PrintConnInst(const ZELT_Grid_ConnInstance& conninst, FILE* fp, const ZELT_Grid& gm);
  // Sets strconninst to "[idpath.]leafdefid.connid".
  static void ParseConninst(ZELT_Grid& gm, std::string& strconninst, ZELT_Grid_ConnInstance& conninst);
  // Rebuilds a connection instance from its id form; an empty text, or one
  // naming an unknown definition, leaves conninst unchanged.
  static void ParseStrConnInst(ZELT_Grid& gm, const std::string& strconninst, ZELT_Grid_ConnInstance& conninst);
  // conninst = (I, the graph of I's outermost definition, cit).
  static void ConstructeConn(ZELT_Grid& gm, ZELT_Grid_HEntity& I, ZELT_Grid_ConnectionIter cit,
                             ZELT_Grid_ConnInstance& conninst);
};
