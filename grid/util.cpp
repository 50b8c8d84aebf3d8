// Name paths, id paths and connection instances as text.
#include "grid/util.h"

#include <cstdint>
#include <cstdlib>

#include "grid/common.h"

namespace {

void AppendName(std::string& out, const char* name) { out += (name && name[0]) ? name : "{}"; }

void AppendLow32(std::string& out, long id) { out += std::to_string(static_cast<int32_t>(id)); }

// The leaf definition of a connection instance whose path may be empty.
ZELT_Grid_DefIter LeafDef(const ZELT_Grid_ConnInstance& c) { return c.GetLeafScope()->Info()._it; }

}  // namespace

std::string ZELT_Grid_Util::HEntToString(const ZELT_Grid_HEntity& I, const ZELT_Grid& gm) {
  std::string out;
  AppendHEnt(out, I, gm);
  return out;
}

void ZELT_Grid_Util::AppendHEnt(std::string& out, const ZELT_Grid_HEntity& I, const ZELT_Grid& gm) {
  if (I.GetLength() == 0) return;
  AppendName(out, gm.GetDefName(gm.GetDefIt(I[0])));
  for (int i = 0; i < I.GetLength(); ++i) {
    ZELT_Grid_HEntityStep step = I[i];
    out += '.';
    AppendName(out, gm.GetEntityName(gm.GetDefIt(step), gm.GetEntIt(step)));
  }
}

void ZELT_Grid_Util::PrintHEnt(const ZELT_Grid_HEntity& I, FILE* fp, const ZELT_Grid& gm) {
  fputs(HEntToString(I, gm).c_str(), fp);
  fflush(stdout);
}

void ZELT_Grid_Util::ParseHEnt(const ZELT_Grid& gm, std::string& instpath, const ZELT_Grid_HEntity& I) {
  if (I.GetLength() == 0) return;
  instpath.clear();
  AppendLow32(instpath, gm.GetDefID(gm.GetDefIt(I[0])));
  for (int i = 0; i < I.GetLength(); ++i) {
    ZELT_Grid_HEntityStep step = I[i];
    instpath += '.';
    AppendLow32(instpath, gm.GetEntityID(gm.GetDefIt(step), gm.GetEntIt(step)));
  }
}

bool ZELT_Grid_Util::ParseStrHEnt(ZELT_Grid& gm, std::string& instpath, ZELT_Grid_HEntity& I) {
  if (instpath.empty()) return false;
  std::string dot = ".";
  long defid = atol(ZELT_Grid_Common::strtoke(instpath, dot).c_str());
  std::string token = ZELT_Grid_Common::strtoke(instpath, dot);
  ZELT_Grid_DefIter def = gm.GetDefFromId(defid);
  I.Reset();
  if (gm.IsEnd(def)) return false;
  while (!token.empty()) {
    ZELT_Grid_EntityIter ent = gm.GetEntityFromId(def, atol(token.c_str()));
    if (gm.IsEnd(ent)) return false;
    ZELT_Grid_HEntityStep step;
    gm.InitHEntStep(step, def, ent);
    I.AppendStep(step);
    token = ZELT_Grid_Common::strtoke(instpath, dot);
    if (token.empty()) break;
    def = gm.GetDefinition(def, ent);
    if (gm.IsEnd(def)) return false;
  }
  return true;
}

void ZELT_Grid_Util::PrintConnInst(const ZELT_Grid_ConnInstance& conninst, FILE* fp, const ZELT_Grid& gm) {
  std::string text;
  if (conninst.GetHEntity().GetLength() == 0)
    AppendName(text, gm.GetDefName(LeafDef(conninst)));
  else
    text = HEntToString(conninst.GetHEntity(), gm);
  text += '.';
  text += std::to_string(gm.GetConnectionID(LeafDef(conninst), conninst.GetConn()));
  fputs(text.c_str(), fp);
  fflush(stdout);
}

void ZELT_Grid_Util::ParseConninst(ZELT_Grid& gm, std::string& strconninst, ZELT_Grid_ConnInstance& conninst) {
  std::string text;
  ParseHEnt(gm, text, conninst.GetHEntity());
  if (!text.empty()) text += '.';
  ZELT_Grid_DefIter leafdef = LeafDef(conninst);
  text += std::to_string(gm.GetDefID(leafdef));
  text += '.';
  text += std::to_string(gm.GetConnectionID(leafdef, conninst.GetConn()));
  strconninst.swap(text);
}

void ZELT_Grid_Util::ParseStrConnInst(ZELT_Grid& gm, const std::string& strconninst, ZELT_Grid_ConnInstance& conninst) {
  if (strconninst.empty()) return;
  ZELT_Grid_HEntity I;
  std::string tail = strconninst;
  std::string::size_type last = strconninst.rfind('.');
  std::string::size_type cut = last == std::string::npos || last == 0 ? std::string::npos : strconninst.rfind('.', last - 1);
  if (cut != std::string::npos) {
    std::string path = strconninst.substr(0, cut);
    tail = strconninst.substr(cut + 1);
    ParseStrHEnt(gm, path, I);
  }
  std::string dot = ".";
  long leafdefid = atol(ZELT_Grid_Common::strtoke(tail, dot).c_str());
  long connid = atol(ZELT_Grid_Common::strtoke(tail, dot).c_str());
  ZELT_Grid_DefIter leafdef = gm.GetDefFromId(leafdefid);
  if (gm.IsEnd(leafdef)) return;
  conninst.Init(I, gm.Graph(leafdef), gm.GetConntionFromId(leafdef, connid));
}

void ZELT_Grid_Util::ConstructeConn(ZELT_Grid& gm, ZELT_Grid_HEntity& I, ZELT_Grid_ConnectionIter cit,
                                    ZELT_Grid_ConnInstance& conninst) {
  conninst.Init(I, gm.Graph(gm.GetDefIt(I[0])), cit);
}
