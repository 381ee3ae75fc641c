// Fetches through the host, which serves them by the stream entries of the module's table.
#include "page/url_networking.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <numeric>
#include <tuple>

#include "page/plugin.h"
#include "tests/support/environment.h"
#include "tests/support/page.h"

using namespace support;
using NorvoWebAPI::URLListener;
using NorvoWebAPI::URLNetworking;
using NorvoWebAPI::KSV::Plugin;

namespace {

constexpr int32_t kLimit = 2'000'000;

// Keeps how each fetch ended: "data" or "file", "ok" or "failed", and the bytes, of a file those that it held then.
struct Listener : URLListener {
  explicit Listener(const Environment& environment) : environment(environment) {}
  void OnURLData(bool ok, std::shared_ptr<std::vector<uint8_t>> data, void* context) override {
    Tell("data", ok, std::string(data->begin(), data->end()), context);
  }
  void OnURLFile(bool ok, const std::string& path, void* context) override {
    std::string held = path == "<unknown>" ? path : "gone";
    // The name alone: the rest of the path has the system's separators.
    if (const auto bytes = environment.Read(path.substr(path.rfind('\\') + 1))) held = *bytes;
    Tell("file", ok, held, context);
  }
  void Tell(const char* kind, bool ok, const std::string& held, void* context) {
    EXPECT_EQ(context, this);
    heard += (heard.empty() ? "" : "; ") + std::string(kind) + (ok ? " ok " : " failed ") +
             (held.size() > 16 ? std::to_string(held.size()) : "'" + held + "'");
    content = held;
    if (then) then();
  }
  std::string Take() { return std::exchange(heard, {}); }
  const Environment& environment;
  std::string heard, content;
  std::function<void()> then;
};

// The host's side of one stream. The record is the host's own and ends with it.
struct Stream {
  explicit Stream(const Fetch& fetch, uint32_t announced = 0)
      : npp(fetch.npp), record{nullptr, nullptr, fetch.url.c_str(), announced, 0, fetch.notifyData, nullptr} {}

  NPError Open() {
    char type[] = "text/plain";
    uint16_t mode = NP_NORMAL;
    const NPError opened = Module().newstream(npp, type, &record, 0, &mode);
    EXPECT_EQ(mode, NP_NORMAL);
    return opened;
  }
  int32_t Ready() { return Module().writeready(npp, &record); }
  int32_t Write(int32_t offset, std::string bytes) {
    return Module().write(npp, &record, offset, static_cast<int32_t>(bytes.size()), bytes.data());
  }
  NPError End(NPReason reason) { return Module().destroystream(npp, &record, reason); }

  NPP npp;
  NPStream record;
};

void Notify(const Fetch& fetch, NPReason reason) {
  Module().urlnotify(fetch.npp, fetch.url.c_str(), reason, fetch.notifyData);
}

class URLNetworkingTest : public testing::TestWithParam<bool> {
 protected:
  bool Ask(const std::string& url) {
    URLNetworking& network = *static_cast<Plugin*>(page.Instance()->pdata);
    return (network.*(GetParam() ? &URLNetworking::GetURLToFile : &URLNetworking::GetURLToMemory))(url, &listener,
                                                                                                   &listener);
  }
  Fetch Start(const std::string& url = "http://host.example/a") {
    EXPECT_TRUE(Ask(url));
    const auto fetches = host.TakeFetches();
    EXPECT_EQ(fetches.size(), 1u);
    EXPECT_EQ(fetches.at(0).url, url);
    return fetches.at(0);
  }
  // As the parameter says: a fetch to a file, or to memory.
  [[nodiscard]] std::string Says(const std::string& ending) const { return (GetParam() ? "file " : "data ") + ending; }
  // The number of the plug-in's temporary files.
  [[nodiscard]] auto Files() const {
    const std::filesystem::directory_iterator entries(environment.Path(""));
    return std::count_if(begin(entries), end(entries),
                         [](const auto& entry) { return entry.path().filename().string().starts_with("NWA"); });
  }

  Environment environment;
  TestHost host;
  Page page{host};
  Listener listener{environment};
};

INSTANTIATE_TEST_SUITE_P(MemoryAndFile, URLNetworkingTest, testing::Bool(),
                         [](const auto& kind) { return kind.param ? "File" : "Memory"; });

TEST_P(URLNetworkingTest, ABodyMayHave2000000Bytes) {
  std::string body(kLimit, '\0');
  std::iota(body.begin(), body.end(), '\0');
  constexpr int32_t kHalf = kLimit / 2;
  for (const bool isTooLong : {false, true}) {
    const NPReason reason = isTooLong ? NPRES_NETWORK_ERR : NPRES_DONE;
    const Fetch fetch = Start();
    Stream stream(fetch, kLimit);
    ASSERT_EQ(stream.Open(), NPERR_NO_ERROR);
    EXPECT_EQ(stream.Ready(), kLimit + 1);
    EXPECT_EQ(stream.Write(0, body.substr(0, kHalf)), kHalf);
    EXPECT_EQ(stream.Ready(), kHalf + 1);
    EXPECT_EQ(stream.Write(kHalf, body.substr(kHalf) + (isTooLong ? "x" : "")), isTooLong ? -1 : kHalf);
    EXPECT_EQ(stream.Ready(), isTooLong ? 0 : 1);
    EXPECT_EQ(stream.End(reason), NPERR_NO_ERROR);
    Notify(fetch, reason);
    EXPECT_EQ(listener.Take(), Says(!isTooLong ? "ok 2000000" : GetParam() ? "failed 'gone'" : "failed 1000000"));
    EXPECT_TRUE(isTooLong || listener.content == body);
  }
  EXPECT_EQ(Files(), GetParam() ? 1 : 0);
}

TEST_P(URLNetworkingTest, TheListenerHearsHowTheStreamEnded) {
  const auto file = [](auto forFile, auto forMemory) { return GetParam() ? forFile : forMemory; };
  using Pieces = std::vector<std::tuple<int32_t, const char*, int32_t>>;  // The offset, the bytes, the answer.
  const std::tuple<const char*, Pieces, NPReason, std::string> cases[] = {
      {"more than announced", {{0, "abc", 3}, {3, "", 0}, {3, "def", 3}}, NPRES_DONE, "ok 'abcdef'"},
      // Ignored for a file.
      {"wrong offsets",
       {{0, "ab", 2}, {3, "c", file(1, -1)}, {1, "c", file(1, -1)}, {-2, "c", file(1, -1)}},
       NPRES_DONE,
       file("ok 'abccc'", "ok 'ab'")},
      {"ended by the user", {{0, "ab", 2}}, NPRES_USER_BREAK, file("failed 'gone'", "failed 'ab'")},
      {"no byte", {}, NPRES_NETWORK_ERR, file("failed 'gone'", "failed ''")},
      {"a full disk", {{0, "ab", 2}}, NPRES_DONE, file("failed 'gone'", "ok 'ab'")},
  };
  for (const auto& [told, pieces, reason, heard] : cases) {
    SCOPED_TRACE(told);
    const bool isFull = told == std::string("a full disk");
    if (isFull && !platform::kHasLayerSettings) continue;
    const Fetch fetch = Start();
    Stream stream(fetch, 3);
    ASSERT_EQ(stream.Open(), NPERR_NO_ERROR);
    const auto before = Files();
    for (const auto& [offset, bytes, answer] : pieces) EXPECT_EQ(stream.Write(offset, bytes), answer);
    {
      const auto full = isFull ? std::make_unique<platform::FullDisk>() : nullptr;
      EXPECT_EQ(stream.End(reason), NPERR_NO_ERROR);
    }
    Notify(fetch, reason);
    EXPECT_EQ(listener.Take(), Says(heard)) << "once, though the host notifies too";
    EXPECT_EQ(Files(), before - (GetParam() && heard.starts_with("failed")));
    EXPECT_EQ(Stream(fetch).Open(), NPERR_GENERIC_ERROR) << "it is over";
  }
}

TEST_P(URLNetworkingTest, AFetchWithoutAStreamEndsByItsNotification) {
  const std::string failed = Says(GetParam() ? "failed '<unknown>'" : "failed ''");
  void* last = nullptr;
  for (const auto& [reason, heard] :
       {std::pair(NPRES_NETWORK_ERR, failed), {NPRES_USER_BREAK, failed}, {NPRES_DONE, ""}}) {
    const Fetch fetch = Start();
    last = fetch.notifyData;
    Notify(fetch, reason);
    EXPECT_EQ(listener.Take(), heard) << reason;
    Stream none(fetch);
    EXPECT_EQ(none.Open(), NPERR_GENERIC_ERROR) << "it is over";
    EXPECT_EQ(none.Ready(), 0);
    EXPECT_EQ(none.Write(0, "a"), -1);
    EXPECT_EQ(none.End(NPRES_DONE), NPERR_NO_ERROR);
    EXPECT_EQ(listener.Take(), "");
  }
  host.Fail(Fault::GetURLNotify);
  EXPECT_FALSE(Ask("u"));
  // Nothing is kept of the refused fetch, whose number was the next one.
  Notify({page.Instance(), "u", static_cast<char*>(last) + 1}, NPRES_NETWORK_ERR);
  EXPECT_EQ(listener.Take(), "");

  // A file stream can fail to open: its folder may be missing.
  if (!GetParam()) return;
  std::filesystem::remove_all(environment.Path(""));
  const Fetch fetch = Start();
  EXPECT_EQ(Stream(fetch).Open(), NPERR_GENERIC_ERROR);
  Notify(fetch, NPRES_NETWORK_ERR);
  EXPECT_EQ(listener.Take(), failed);
}

TEST_P(URLNetworkingTest, AnInstanceEndsWithFetchesUnderWay) {
  const Fetch waiting = Start(), open = Start();
  Stream stream(open);
  ASSERT_EQ(stream.Open(), NPERR_NO_ERROR);
  if (!GetParam()) {
    const NthFailure noMemory(Source::Allocation, 1, {});
    const InPlugin writing(true);
    EXPECT_EQ(stream.Write(0, "ab"), 2) << "dropped, but no error of the stream";
    EXPECT_TRUE(noMemory.Came());
  }
  stream.Write(0, "ab");
  page.End();
  // The host's calls for an instance that is gone; its record is poisoned.
  NPP_t gone{};
  stream.npp = &gone;
  EXPECT_EQ(stream.Write(2, "c"), 1);
  EXPECT_EQ(stream.End(NPRES_USER_BREAK), NPERR_INVALID_INSTANCE_ERROR);
  Notify({&gone, "u", waiting.notifyData}, NPRES_USER_BREAK);
  EXPECT_EQ(listener.Take(), "");
}

TEST_P(URLNetworkingTest, AListenerMayStartAFetchOrEndThePage) {
  const Fetch first = Start();
  Fetch second{};
  listener.then = [&] { second = Start("http://host.example/b"); };
  Stream stream(first);
  stream.Open();
  stream.End(NPRES_DONE);
  Notify(first, NPRES_DONE);
  EXPECT_EQ(listener.Take(), Says("ok ''"));
  listener.then = [&] { page.Destroy(); };
  Notify(second, NPRES_NETWORK_ERR);
  EXPECT_EQ(listener.Take(), Says(GetParam() ? "failed '<unknown>'" : "failed ''"));
}

}  // namespace
