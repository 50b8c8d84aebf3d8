// Tokenizer throughput (tokens per second and bytes per second) over a large feeder model and generated GDF text.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "gdf/gdf_scan.h"
#include "gdf/gdf_tokens.h"

namespace {

// FEEDWALK_GDF_FEEDER names another model to read.
std::string FeederPath() {
  const char* path = getenv("FEEDWALK_GDF_FEEDER");
  return path ? path : "/work/shared/data/feeders/ieee8500x20.gdf";
}

// Scans to the end of input, releasing texts as a parser would; returns the token count.
int64_t LexToEnd() {
  int64_t tokens = 0;
  for (int code; (code = gdf_lex()) != 0 || !gdf_scan_finished(); ++tokens)
    if (gdf_token_has_text(code)) gdf_text_free(gdf_lval.strval);
  return tokens;
}

void Report(benchmark::State& state, int64_t bytes, int64_t tokens) {
  state.SetBytesProcessed(bytes * int64_t(state.iterations()));
  state.counters["tokens"] = double(tokens);
  state.counters["tokens_per_second"] = benchmark::Counter(double(tokens) * double(state.iterations()),
                                                           benchmark::Counter::kIsRate);
}

int64_t FileSize(FILE* in) {
  fseek(in, 0, SEEK_END);
  const int64_t size = ftell(in);
  rewind(in);
  return size;
}

std::string ReadWhole(const std::string& path) {
  std::string text;
  if (FILE* in = fopen(path.c_str(), "rb")) {
    char chunk[1 << 16];
    for (size_t got; (got = fread(chunk, 1, sizeof chunk, in)) > 0;) text.append(chunk, got);
    fclose(in);
  }
  return text;
}

// A temporary file of about 100 MB of statements in the proportions of a
// converted feeder: instances with string, integer and real properties, and connections.
FILE* GeneratedFile() {
  static FILE* const file = [] {
    FILE* out = tmpfile();
    if (out == nullptr) return out;
    fputs("% generated feeder\nprop DSS_NAME string\nprop LENGTH float64\nckt F\n", out);
    for (int i = 0; ftell(out) < (100 << 20); ++i) {
      fprintf(out, "inst F.L_%d Line\n", i);
      fprintf(out, "propadd F.L_%d DSS_NAME \"Line.l%d\"\n", i, i);
      fprintf(out, "propadd F.L_%d LENGTH 0.%d\n", i, i);
      fprintf(out, "propadd F.L_%d NORMALPOSITION_A 1\n", i);
      fprintf(out, "conn F.B_%d L_%d.1 L_%d.0 LD_%d.0\n", i, i, i + 1, i);
    }
    return out;
  }();
  return file;
}

void LexStream(benchmark::State& state, FILE* in) {
  const int64_t bytes = FileSize(in);
  int64_t tokens = 0;
  for (auto _ : state) {
    rewind(in);
    gdf_scan_init(in);
    tokens = LexToEnd();
    gdf_scan_terminate();
  }
  Report(state, bytes, tokens);
}

void BM_LexFeederFromStream(benchmark::State& state) {
  FILE* in = fopen(FeederPath().c_str(), "rb");
  if (in == nullptr) return state.SkipWithError("cannot open the feeder model");
  LexStream(state, in);
  fclose(in);
}
BENCHMARK(BM_LexFeederFromStream)->Unit(benchmark::kMillisecond)->UseRealTime();

// Starting a scan of a text copies it, which is part of the cost here.
void BM_LexFeederFromMemory(benchmark::State& state) {
  const std::string text = ReadWhole(FeederPath());
  if (text.empty()) return state.SkipWithError("cannot read the feeder model");
  int64_t tokens = 0;
  for (auto _ : state) {
    gdf_scan_init(text.data(), text.size());
    tokens = LexToEnd();
    gdf_scan_terminate();
  }
  Report(state, int64_t(text.size()), tokens);
}
BENCHMARK(BM_LexFeederFromMemory)->Unit(benchmark::kMillisecond)->UseRealTime();

// Argument 1: the scanner runs on a thread of its own, as for any file of 1 MiB and more;
// 0: it fills each block when gdf_lex needs it, on the caller's thread.
void BM_LexGenerated100MB(benchmark::State& state) {
  FILE* in = GeneratedFile();
  if (in == nullptr) return state.SkipWithError("cannot write a temporary file");
  gdf_scan_thread_from(state.range(0) ? 0 : INT64_MAX);
  LexStream(state, in);
  gdf_scan_thread_from(gdf_kScanThreadFrom);
}
BENCHMARK(BM_LexGenerated100MB)->ArgName("thread")->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
