// Runs the built feedwalk program in a scratch directory and captures what it leaves behind.
#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace feedwalk_test {

namespace fs = std::filesystem;

inline std::string EnvOr(const char* name, const char* fallback) {
  const char* value = getenv(name);
  return value != nullptr && value[0] != '\0' ? value : fallback;
}

// The source tree and the program, from the environment CTest sets, else from
// the paths the build configured.
inline fs::path SourceDir() { return EnvOr("FEEDWALK_SOURCE", FEEDWALK_SOURCE_DIR); }
inline fs::path FeedwalkBinary() { return fs::path(EnvOr("FEEDWALK_BIN", FEEDWALK_BIN_DIR)) / "feedwalk"; }

// The IEEE feeder samples, which a fresh clone may lack; empty when absent.
inline fs::path FeedersDir() {
  std::vector<fs::path> candidates;
  if (const char* env = getenv("FEEDWALK_FEEDERS")) candidates.emplace_back(env);
  candidates.push_back(SourceDir() / ".." / "shared" / "data" / "feeders");
  candidates.emplace_back("/work/shared/data/feeders");
  for (const fs::path& dir : candidates) {
    if (fs::is_directory(dir)) return dir;
  }
  return {};
}

inline std::string ReadFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

inline void WriteFile(const fs::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

// The number written right after `label` in text, or -1 when label is absent.
inline long NumberAfter(const std::string& text, const std::string& label) {
  size_t at = text.find(label);
  if (at == std::string::npos) return -1;
  return strtol(text.c_str() + at + label.size(), nullptr, 10);
}

// The orientation's running time differs from run to run: "edges in 0.001234
// sec." reads "edges in <time> sec.".
inline std::string MaskTime(std::string text) {
  const std::string label = " edges in ", unit = " sec.";
  size_t start = text.find(label);
  if (start == std::string::npos) return text;
  start += label.size();
  size_t end = text.find_first_not_of("0123456789.", start);
  if (end > start && end != std::string::npos && text.compare(end, unit.size(), unit) == 0) {
    text.replace(start, end - start, "<time>");
  }
  return text;
}

// A fresh directory, removed with everything in it at the end of the scope.
class ScratchDir {
 public:
  ScratchDir() {
    std::string pattern = (fs::temp_directory_path() / "feedwalk-test-XXXXXX").string();
    _path = mkdtemp(pattern.data()) ? fs::path(pattern) : fs::path();
  }
  ~ScratchDir() {
    std::error_code ignored;
    fs::remove_all(_path, ignored);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;
  const fs::path& path() const { return _path; }
  fs::path operator/(const std::string& name) const { return _path / name; }

 private:
  fs::path _path;
};

struct RunResult {
  int status = -1;  // the exit status, or -1 when the program did not exit normally
  std::string err;  // everything written to the standard error stream
};

// feedwalk started with args in dir, running beside the test until Wait;
// `env` entries ("NAME=value") are added to its environment. Standard output
// is discarded, the standard error stream kept.
class FeedwalkProcess {
 public:
  FeedwalkProcess(const std::vector<std::string>& args, const fs::path& dir, const std::vector<std::string>& env = {})
      : _errfile(dir / ".feedwalk-stderr") {
    std::string binary = FeedwalkBinary().string();
    std::vector<std::string> argcopy(args), envcopy(env);
    std::vector<char*> argv{binary.data()};
    for (std::string& a : argcopy) argv.push_back(a.data());
    argv.push_back(nullptr);
    _pid = fork();
    if (_pid == 0) {
      int err = open(_errfile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
      int null = open("/dev/null", O_WRONLY);
      if (err < 0 || null < 0 || dup2(err, 2) < 0 || dup2(null, 1) < 0 || chdir(dir.c_str()) != 0) _exit(127);
      unsetenv("FEEDWALK_PROFILE");  // only a test that asks for it sees the profile
      for (std::string& e : envcopy) putenv(e.data());
      execv(argv[0], argv.data());
      _exit(127);
    }
  }
  FeedwalkProcess(const FeedwalkProcess&) = delete;
  FeedwalkProcess& operator=(const FeedwalkProcess&) = delete;
  ~FeedwalkProcess() { Wait(); }

  RunResult Wait() {
    int wstatus = 0;
    if (_pid > 0 && waitpid(_pid, &wstatus, 0) == _pid && WIFEXITED(wstatus)) _result.status = WEXITSTATUS(wstatus);
    if (_pid > 0) {
      _result.err = ReadFile(_errfile);
      fs::remove(_errfile);
    }
    _pid = -1;
    return _result;
  }

 private:
  fs::path _errfile;
  pid_t _pid;
  RunResult _result;
};

inline RunResult RunFeedwalk(const std::vector<std::string>& args, const fs::path& dir,
                             const std::vector<std::string>& env = {}) {
  return FeedwalkProcess(args, dir, env).Wait();
}

}  // namespace feedwalk_test
