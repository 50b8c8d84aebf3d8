// Breaker discovery, conductivity initialisation and edge output for feedwalk.
#include "driver/feeder_walk.h"

#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>

#include "grid/util.h"
#include "tolk/prefetch.h"
#include "tolk/thread.h"

namespace {

const char* const kBreakerDefPrefix = "DynamicProtectiveDevice";

// A property value counts as 1 only when it is an integer equal to 1. Values
// of any other kind (a property declared with another type) and null values
// ("--" in the GDF file) are "not 1".
bool IsIntegerOne(const ZELT_Grid_PropData& value) {
  if (value.IsNull()) return false;
  switch (value.QType()) {
    case ZELT_Grid_PropData::int32:
      return value.QInt32() == 1;
    case ZELT_Grid_PropData::int64:
      return value.QInt64() == 1;
    default:
      return false;
  }
}

}  // namespace

bool IsDPDBreaker(ZELT_Grid& gm, ZELT_Grid_DefIter& def, ZELT_Grid_EntityIter& ent, int brkr_propkey) {
  if (!gm.IsElementInst(def, ent) && !gm.IsCircuitInst(def, ent)) return false;
  const char* defname = gm.GetDefName(gm.GetDefinition(def, ent));
  if (defname == nullptr || strncmp(defname, kBreakerDefPrefix, strlen(kBreakerDefPrefix)) != 0) return false;
  ZELT_Grid_PropIter prop = gm.GetProperty(def, ent, brkr_propkey);
  if (gm.IsEnd(prop)) return false;
  return IsIntegerOne(gm.GetPropertyValue(def, ent, prop));
}

ZELT_Grid_HEntity ConstructHEnt(ZELT_Grid& gm, ZELT_Grid_DefIter& def, ZELT_Grid_EntityIter& ent) {
  ZELT_Grid_HEntity hent;
  ZELT_Grid_HEntityStep step;
  gm.InitHEntStep(step, def, ent);
  hent.AppendStep(step);
  return hent;
}

std::vector<ZELT_Grid_HEntity> FindBreakers(ZELT_Grid& gm, ZELT_Grid_DefIter& def, int subtype_propkey) {
  std::vector<ZELT_Grid_HEntity> sources;
  if (gm.IsEnd(def)) return sources;  // a model without definitions has no breaker
  for (ZELT_Grid_EntityIter ent = gm.GetFirstEntity(def); !gm.IsEnd(ent); gm.NextEntity(def, ent)) {
    if (IsDPDBreaker(gm, def, ent, subtype_propkey)) sources.push_back(ConstructHEnt(gm, def, ent));
  }
  return sources;
}

// Entities without the property keep UNSET.
int SetCondStatesFromProperty(ZELT_Grid_CondStateSetSL& cst, const ZELT_Grid& gm, const ZELT_Grid_DefIter& def,
                              int normpos_propkey) {
  int count = 0;
  if (gm.IsEnd(def)) return count;
  for (ZELT_Grid_EntityIter ent = gm.GetFirstEntity(def); !gm.IsEnd(ent); gm.NextEntity(def, ent)) {
    ZELT_Grid_PropIter prop = gm.GetProperty(def, ent, normpos_propkey);
    if (gm.IsEnd(prop)) continue;
    cst.SetState(ent, IsIntegerOne(gm.GetPropertyValue(def, ent, prop)) ? ON : OFF);
    ++count;
  }
  return count;
}

void ReportCondStatesInitialized(int count) {
  fprintf(stderr, "INFO(%s):  Initialized conductivity state for %d entities from NORMALPOSITION_A property.\n",
          "InitializeCondStateSetSL", count);
  fflush(stderr);
}

void InitializeCondStateSetSL(ZELT_Grid_CondStateSetSL& cst, ZELT_Grid& gm, ZELT_Grid_DefIter& def,
                              int normpos_propkey) {
  ReportCondStatesInitialized(SetCondStatesFromProperty(cst, gm, def, normpos_propkey));
}

namespace {

// Pairs go out in chunks of this many: a chunk's text is a few hundred kilobytes.
constexpr size_t kChunkPairs = 4096;

// Calls f with each step of both paths of a pair.
template <class F>
void ForPairSteps(const ZELT_Grid_HEntityPair& pair, F f) {
  for (const ZELT_Grid_HEntity* path : {&pair.first, &pair.second})
    for (int i = 0; i < path->GetLength(); ++i) f((*path)[i]);
}

void FormatChunk(std::string& out, const std::vector<ZELT_Grid_HEntityPair>& pairs, size_t chunk, const ZELT_Grid& gm) {
  out.clear();
  // Naming a pair's steps reads their records and then their names: the records are
  // fetched kRecordsAhead pairs before their line, the names (once the records are near)
  // kNamesAhead.
  constexpr size_t kRecordsAhead = 16;
  constexpr size_t kNamesAhead = 8;
  const size_t end = std::min(pairs.size(), (chunk + 1) * kChunkPairs);
  for (size_t i = chunk * kChunkPairs; i < end; ++i) {
    if (i + kRecordsAhead < end)
      ForPairSteps(pairs[i + kRecordsAhead], [&](const ZELT_Grid_HEntityStep& step) {
        tolk_Prefetch(gm.GetEntIt(step).position);
      });
    if (i + kNamesAhead < end)
      ForPairSteps(pairs[i + kNamesAhead], [&](const ZELT_Grid_HEntityStep& step) {
        tolk_Prefetch(gm.GetEntityName(gm.GetDefIt(step), gm.GetEntIt(step)));
      });
    ZELT_Grid_Util::AppendHEnt(out, pairs[i].first, gm);
    out += ' ';
    ZELT_Grid_Util::AppendHEnt(out, pairs[i].second, gm);
    out += '\n';
  }
}

bool WriteText(FILE* edgefile, const std::string& text) {
  return fwrite(text.data(), 1, text.size(), edgefile) == text.size();
}

// Formatting a line reads the names of two entities that lie anywhere in the model, so
// most of the output's time goes to waiting for memory. A helper formats the odd chunks
// while this thread formats and writes the even ones; it hands each chunk over whole and
// starts on its next one at once, so that at most three chunks' texts exist at a time.
class OddChunkFormatter {
 public:
  OddChunkFormatter(const std::vector<ZELT_Grid_HEntityPair>& pairs, size_t nchunks, const ZELT_Grid& gm)
      : _pairs(pairs), _nchunks(nchunks), _gm(gm) {}
  ~OddChunkFormatter() { Stop(); }

  // False when no thread could be had.
  bool Start() {
    return tolk_TryStartThread(_thread, [this] { Run(); });
  }
  // Swaps the next odd chunk's text into text, waiting for it.
  void Take(std::string& text) {
    std::unique_lock<std::mutex> lock(_mutex);
    _changed.wait(lock, [this] { return _full; });
    text.swap(_text);
    _full = false;
    _changed.notify_one();
  }
  void Stop() {
    {
      std::lock_guard<std::mutex> lock(_mutex);
      _stop = true;
    }
    _changed.notify_one();
    if (_thread.joinable()) _thread.join();
  }

 private:
  void Run() {
    std::string text;
    for (size_t chunk = 1; chunk < _nchunks; chunk += 2) {
      FormatChunk(text, _pairs, chunk, _gm);
      std::unique_lock<std::mutex> lock(_mutex);
      _changed.wait(lock, [this] { return !_full || _stop; });
      if (_stop) return;
      text.swap(_text);
      _full = true;
      _changed.notify_one();
    }
  }

  const std::vector<ZELT_Grid_HEntityPair>& _pairs;
  const size_t _nchunks;
  const ZELT_Grid& _gm;
  std::mutex _mutex;
  std::condition_variable _changed;
  std::string _text;   // the odd chunk handed over, while _full
  bool _full = false;
  bool _stop = false;
  std::thread _thread;
};

}  // namespace

bool WriteEdges(FILE* edgefile, const std::vector<ZELT_Grid_HEntityPair>& pairs, const ZELT_Grid& gm, int& nedges) {
  const size_t nchunks = (pairs.size() + kChunkPairs - 1) / kChunkPairs;
  OddChunkFormatter odd(pairs, nchunks, gm);
  const bool helped = nchunks > 1 && odd.Start();
  std::string text;
  for (size_t chunk = 0; chunk < nchunks; ++chunk) {
    if (helped && chunk % 2 == 1)
      odd.Take(text);
    else
      FormatChunk(text, pairs, chunk, gm);
    if (!WriteText(edgefile, text)) return false;
  }
  nedges += static_cast<int>(pairs.size());
  return true;
}
