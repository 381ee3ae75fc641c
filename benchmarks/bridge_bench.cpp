// What the bridge's host adds to a message's way through two pipes.
#include <fcntl.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "benchmarks/bench_host.h"
#include "benchmarks/pairs.h"
#include "bridge/host/native_stream.h"

namespace {

// Keeps this process and its children on the processor it is on. Which processors the ends of a pipe are on changes the
// time of a message fivefold.
class OneProcessor {
 public:
  OneProcessor() {
    ::sched_getaffinity(0, sizeof before, &before);
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(::sched_getcpu(), &one);
    ::sched_setaffinity(0, sizeof one, &one);
  }
  ~OneProcessor() { ::sched_setaffinity(0, sizeof before, &before); }
  OneProcessor(const OneProcessor&) = delete;
  OneProcessor& operator=(const OneProcessor&) = delete;

 private:
  cpu_set_t before;
};

// A program at the other ends of two pipes, as a browser starts a native host. It ends with its input.
class Process {
 public:
  // `run` is what the new process does.
  template <typename Run>
  explicit Process(Run run) {
    int in[2];
    int out[2];
    if (::pipe2(in, O_CLOEXEC) != 0 || ::pipe2(out, O_CLOEXEC) != 0) throw std::runtime_error("There are no pipes.");
    child = ::fork();
    if (child == 0) {
      ::dup2(in[0], STDIN_FILENO);
      ::dup2(out[1], STDOUT_FILENO);
      for (const int end : {in[0], in[1], out[0], out[1]}) ::close(end);
      run();
      std::_Exit(1);
    }
    ::close(in[0]);
    ::close(out[1]);
    input.reset(::fdopen(in[1], "wb"));
    output.reset(::fdopen(out[0], "rb"));
  }
  ~Process() {
    input.reset();
    ::waitpid(child, nullptr, 0);
  }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  std::string Ask(const std::string& message) {
    Bridge::WriteNativeMessage(input.get(), message);
    auto answer = Bridge::ReadNativeMessage(output.get());
    if (!answer) throw std::runtime_error("The process has ended.");
    return *answer;
  }

 private:
  OneProcessor processor;
  Bridge::File input{nullptr, &std::fclose};
  Bridge::File output{nullptr, &std::fclose};
  pid_t child = -1;
};

std::string Request(uint64_t number, const std::string& rest) {
  return "{\"n\":" + std::to_string(number) + ",\"on\":1," + rest + "}";
}

constexpr char kRead[] = R"("do":"get","name":"version")";
constexpr char kCall[] = R"("do":"call","name":"zubGetVersion","arguments":[])";

// `work` is done in the process, before the message goes back.
template <typename Work>
void Echo(benchmark::State& state, const char* request, Work work) {
  Process echo([&] {
    while (const auto message = Bridge::ReadNativeMessage(stdin)) {
      work();
      Bridge::WriteNativeMessage(stdout, *message);
    }
  });
  uint64_t number = 1;
  for (auto _ : state) benchmark::DoNotOptimize(echo.Ask(Request(++number, request)));
}

void AskHost(benchmark::State& state, const char* request) {
  Bench::ThePage();  // Sets the surroundings, which the process inherits.
  Process host([] { ::execl(KSV_BRIDGE, KSV_BRIDGE, "chrome-extension://" KSV_CHROMIUM_ID "/", nullptr); });
  host.Ask(R"({"hello":1,"origin":"https://page.example","address":""})");
  host.Ask(Request(1, R"("do":"create","width":1,"height":1)"));
  uint64_t number = 1;
  for (auto _ : state) benchmark::DoNotOptimize(host.Ask(Request(++number, request)));
}

void FloorBridgeRead(benchmark::State& state) {
  Echo(state, kRead, [] {});
}

void BridgeRead(benchmark::State& state) {
  AskHost(state, kRead);
}

void FloorBridgeCall(benchmark::State& state) {
  Bench::Page& page = Bench::ThePage();
  const NPIdentifier id = Bench::Identifier("zubGetVersion");
  Echo(state, kCall, [&] { page.Call(id, {}); });
}

void BridgeCall(benchmark::State& state) {
  AskHost(state, kCall);
}

const Bench::Pairs pairs{
    {"bridge, read of version", BridgeRead, "the message echoed by a process", FloorBridgeRead, Bench::Clock::Wall},
    {"bridge, zubGetVersion", BridgeCall, "the call made by a process that echoes the message", FloorBridgeCall,
     Bench::Clock::Wall},
};

}  // namespace
