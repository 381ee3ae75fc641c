// What the bridge's host adds to a message's way through two pipes.
#include <fcntl.h>
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
  Bridge::File input{nullptr, &std::fclose};
  Bridge::File output{nullptr, &std::fclose};
  pid_t child = -1;
};

std::string Request(uint64_t number, const std::string& rest) {
  return "{\"n\":" + std::to_string(number) + ",\"on\":1," + rest + "}";
}

constexpr char kCall[] = R"("do":"call","name":"zubGetVersion","arguments":[])";

Process StartHost() {
  Bench::ThePage();  // Sets the surroundings, which the process inherits.
  return Process([] { ::execl(KSV_BRIDGE, KSV_BRIDGE, "chrome-extension://" KSV_CHROMIUM_ID "/", nullptr); });
}

void FloorBridgeCall(benchmark::State& state) {
  Process echo([] {
    while (const auto message = Bridge::ReadNativeMessage(stdin)) Bridge::WriteNativeMessage(stdout, *message);
  });
  uint64_t number = 1;
  for (auto _ : state) benchmark::DoNotOptimize(echo.Ask(Request(++number, kCall)));
}

void BridgeCall(benchmark::State& state) {
  Process host = StartHost();
  host.Ask(R"({"hello":1,"origin":"https://page.example","address":""})");
  host.Ask(Request(1, R"("do":"create","width":1,"height":1)"));
  uint64_t number = 1;
  for (auto _ : state) benchmark::DoNotOptimize(host.Ask(Request(++number, kCall)));
}

const Bench::Pairs pairs{
    {"bridge, zubGetVersion", BridgeCall, "the message echoed by a process", FloorBridgeCall, Bench::Clock::Wall},
};

}  // namespace
