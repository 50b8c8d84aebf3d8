// Runs the built feedwalk program in a scratch directory and captures what it leaves behind.
#pragma once

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace feedwalk_test {

namespace fs = std::filesystem;

// The source tree and the program, from the environment CTest sets, else from
// the paths the build configured.
inline fs::path SourceDir() {
  const char* env = getenv("FEEDWALK_SOURCE");
  return env && *env ? env : FEEDWALK_SOURCE_DIR;
}
inline fs::path FeedwalkBinary() {
  const char* env = getenv("FEEDWALK_BIN");
  return fs::path(env && *env ? env : FEEDWALK_BIN_DIR) / "feedwalk";
}

inline std::string ReadFile(const fs::path& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

// The number written right after `label` in text, or -1 when label is absent.
inline long NumberAfter(const std::string& text, const std::string& label) {
  size_t at = text.find(label);
  return at == std::string::npos ? -1 : strtol(text.c_str() + at + label.size(), nullptr, 10);
}

// The orientation's running time differs from run to run: "edges in 0.001234
// sec." reads "edges in <time> sec.".
inline std::string MaskTime(std::string text) {
  const std::string label = " edges in ";
  size_t start = text.find(label);
  if (start == std::string::npos) return text;
  start += label.size();
  size_t end = text.find_first_not_of("0123456789.", start);
  if (end != std::string::npos && end > start && text.compare(end, 5, " sec.") == 0) {
    text.replace(start, end - start, "<time>");
  }
  return text;
}

// A fresh directory, removed with everything in it at the end of the scope.
class ScratchDir {
 public:
  ScratchDir() : _path((fs::temp_directory_path() / "feedwalk-test-XXXXXX").string()) {
    if (!mkdtemp(_path.data())) _path.clear();
  }
  ~ScratchDir() {
    std::error_code ignored;
    if (!_path.empty()) fs::remove_all(_path, ignored);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;
  fs::path path() const { return _path; }
  fs::path operator/(const std::string& name) const { return path() / name; }

 private:
  std::string _path;
};

struct RunResult {
  int status = -1;  // the exit status, or -1 when the program did not exit normally
  std::string err;  // everything written to the standard error stream
  bool killed = false;  // it outlived its time and was killed
  long max_rss_kb = 0;  // its peak resident memory
};

// How long a run may take before it counts as hung; slow rows give more.
inline constexpr std::chrono::seconds kDefaultTimeLimit{120};

// feedwalk started with args in dir, running beside the test until Wait.
// `env` entries ("NAME=value") are added to its environment; standard output
// is discarded, the standard error stream kept.
class FeedwalkProcess {
 public:
  FeedwalkProcess(std::vector<std::string> args, const fs::path& dir, std::vector<std::string> env = {})
      : _errfile(dir / ".feedwalk-stderr") {
    std::string binary = FeedwalkBinary().string();
    std::vector<char*> argv{binary.data()};
    for (std::string& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    _pid = fork();
    if (_pid != 0) return;
    int err = open(_errfile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    int null = open("/dev/null", O_WRONLY);
    if (err < 0 || null < 0 || dup2(err, 2) < 0 || dup2(null, 1) < 0 || chdir(dir.c_str()) != 0) _exit(127);
    unsetenv("FEEDWALK_PROFILE");  // only a test that asks for it sees the profile
    for (std::string& e : env) putenv(e.data());
    execv(argv[0], argv.data());
    _exit(127);
  }
  FeedwalkProcess(const FeedwalkProcess&) = delete;
  FeedwalkProcess& operator=(const FeedwalkProcess&) = delete;
  ~FeedwalkProcess() { Wait(); }

  // Waits for the end of the run, killing it once it has taken longer than limit.
  RunResult Wait(std::chrono::seconds limit = kDefaultTimeLimit) {
    if (_pid <= 0) return _result;
    const auto deadline = std::chrono::steady_clock::now() + limit;
    int wstatus = 0;
    struct rusage usage = {};
    pid_t done;
    while ((done = wait4(_pid, &wstatus, WNOHANG, &usage)) == 0) {
      if (std::chrono::steady_clock::now() > deadline && !_result.killed) {
        kill(_pid, SIGKILL);
        _result.killed = true;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    if (done == _pid && WIFEXITED(wstatus)) _result.status = WEXITSTATUS(wstatus);
    _result.max_rss_kb = usage.ru_maxrss;
    _result.err = ReadFile(_errfile);
    fs::remove(_errfile);
    _pid = -1;
    return _result;
  }

 private:
  fs::path _errfile;
  pid_t _pid;
  RunResult _result;
};

inline RunResult RunFeedwalk(std::vector<std::string> args, const fs::path& dir, std::vector<std::string> env = {},
                             std::chrono::seconds limit = kDefaultTimeLimit) {
  return FeedwalkProcess(std::move(args), dir, std::move(env)).Wait(limit);
}

}  // namespace feedwalk_test
