#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <system_error>

#include "base/scope_exit.h"
#include "installer/doctor/child.h"

namespace NorvoWebAPI::KSV::Doctor {
namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t kLongestOutput = 65536;

void Check(int error, const char* what) {
  if (error != 0) throw std::system_error(error, std::generic_category(), what);
}

std::string TellEnd(int status) {
  if (WIFEXITED(status)) return "exit status " + std::to_string(WEXITSTATUS(status));
  const int signal = WTERMSIG(status);
  return "signal " + std::to_string(signal) + ", " + strsignal(signal);
}

// A pipe's end that gives these bytes. They fit into the pipe, so nobody has to read them yet.
int OpenInput(const std::string& bytes) {
  int ends[2];
  Check(pipe2(ends, O_CLOEXEC) == 0 ? 0 : errno, "no pipe");
  const ssize_t written = write(ends[1], bytes.data(), bytes.size());
  close(ends[1]);
  if (written == static_cast<ssize_t>(bytes.size())) return ends[0];
  close(ends[0]);
  throw std::system_error(EPIPE, std::generic_category(), "no input");
}

// Reads until the end of the output. False after the time limit.
bool ReadUntil(Clock::time_point limit, int file, std::string& output) {
  while (true) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(limit - Clock::now()).count();
    if (left <= 0) return false;  // Also when there is always more to read.
    pollfd waited{file, POLLIN, 0};
    const int ready = poll(&waited, 1, static_cast<int>(left));
    if (ready == 0) return false;
    if (ready < 0 && errno == EINTR) continue;
    std::array<char, 4096> part{};
    const ssize_t got = read(file, part.data(), part.size());
    if (got <= 0) return true;
    output.append(part.data(), std::min(static_cast<size_t>(got), kLongestOutput - output.size()));
  }
}

// Waits for the end of the process. False after the time limit.
bool WaitUntil(Clock::time_point limit, pid_t process, int& status) {
  while (true) {
    const pid_t ended = waitpid(process, &status, WNOHANG);
    if (ended == process) return true;
    if (ended < 0 && errno != EINTR) return true;
    if (Clock::now() >= limit) return false;
    usleep(1000);
  }
}

}  // namespace

ChildEnd RunChild(const std::vector<std::string>& arguments, std::chrono::seconds limit, const std::string& input) {
  int ends[2];
  Check(pipe2(ends, O_CLOEXEC) == 0 ? 0 : errno, "no pipe");
  const ScopeExit closeReading([&] { close(ends[0]); });
  const int inputEnd = OpenInput(input);
  const ScopeExit closeInput([&] { close(inputEnd); });
  pid_t process = 0;
  {
    const ScopeExit closeWriting([&] { close(ends[1]); });
    posix_spawn_file_actions_t actions;
    Check(posix_spawn_file_actions_init(&actions), "no start");
    const ScopeExit destroy([&] { posix_spawn_file_actions_destroy(&actions); });
    Check(posix_spawn_file_actions_adddup2(&actions, inputEnd, STDIN_FILENO), "no start");
    Check(posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO), "no start");
    // What a library prints while it crashes would stand between the report's lines.
    Check(posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0), "no start");
    std::vector<char*> words;
    words.reserve(arguments.size() + 1);
    for (const std::string& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    Check(posix_spawn(&process, words[0], &actions, nullptr, words.data(), environ), words[0]);
  }
  ChildEnd end;
  int status = 0;
  const auto until = Clock::now() + limit;
  if (!ReadUntil(until, ends[0], end.output) || !WaitUntil(until, process, status)) {
    end.timedOut = true;
    kill(process, SIGKILL);
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
  }
  end.how = TellEnd(status);
  return end;
}

void PrepareForCrash() {
  const rlimit none{};
  setrlimit(RLIMIT_CORE, &none);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
}

std::string LoadError() {
  const char* error = dlerror();
  return error ? error : "the system gives no reason";
}

}  // namespace NorvoWebAPI::KSV::Doctor
