#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <mutex>
#include <random>
#include <sstream>

#include "kit/agent/agent_status.h"
#include "kit/shared/crypto.h"
#include "kit/shared/hex.h"
#include "platform/faults.h"
#include "platform/system_path.h"
#include "tests/support/paths.h"
#include "vendor/zub.h"

namespace fs = std::filesystem;
using enum KsvAgent::Status;
using KsvAgent::Status;
using Text = std::string;

namespace {

constexpr const char* kOath = "8D67D9DD2AF54717AFF2FF7EF19DFADB";
constexpr const char* kTimeOnly = "com.norvo.time";
// "1234567890" again and again to 20, 32 and 64 bytes: the seeds of both standards' test values.
const Text kTen = "GEZDGNBVGY3TQOJQ";
const Text kSeed20 = kTen + kTen;
const Text kSeed32 = "gezdgnbvgy3tqojq" + kTen + kTen + "GEZA";
const Text kSeed64 = kTen + kTen + kTen + kTen + kTen + kTen + "GEZDGNA%3D";
const Text kTotp = "otpauth://totp/Norvo:al%C3%AFce?secret=" + kSeed20;
const Text kHotp = "otpauth://hotp/alice?secret=" + kSeed20 + "&counter=";

Text AtTime(uint64_t seconds) {
  Text bytes;
  for (int shift = 64; shift > 0;) bytes += static_cast<char>(seconds >> (shift -= 8));
  return bytes;
}

constexpr auto Data = [](const Text& text) { return reinterpret_cast<const uint8_t*>(text.data()); };
constexpr auto Size = [](const Text& text) { return static_cast<int32_t>(text.size()); };

// What came through callbacks, on whatever thread. The first generation hands no context to its callback.
struct Recorder {
  void Add(Text text) {
    const std::scoped_lock lock(mutex);
    texts.push_back(std::move(text));
    added.notify_all();
  }
  bool Await(const Text& part, std::ptrdiff_t count = 1) {
    std::unique_lock lock(mutex);
    return added.wait_for(lock, std::chrono::seconds(20), [&] { return Count(part) >= count; });
  }
  std::ptrdiff_t Count(const Text& part) {
    const std::scoped_lock lock(mutex);
    return std::ranges::count_if(texts, [&](const Text& text) { return text.find(part) != text.npos; });
  }
  std::recursive_mutex mutex;
  std::condition_variable_any added;
  std::vector<Text> texts;
  std::function<void()> insideAppletEvent = [] {};
}* recorder = nullptr;

void Record(Recorder& to, const Text& who, uint32_t size, const void* data, uint8_t source) {
  to.Add(who + ":" + std::to_string(source) + ":" + Text(static_cast<const char*>(data), size));
  if (source == 3) to.insideAppletEvent();
}
void OnInstanceEvent(uint32_t id, uint32_t size, const void* data, uint8_t source, void* context) {
  Record(*static_cast<Recorder*>(context), std::to_string(id), size, data, source);
}
void OnNamedEvent(const char* name, uint32_t size, const void* data, uint8_t source) {
  Record(*recorder, name, size, data, source);
}

struct Answer {
  Status status;
  Text data;
  uint16_t length;
};

#define ENTRY(name) reinterpret_cast<decltype(&name)>(reinterpret_cast<void*>(GetProcAddress(library_, #name)))
// Both generations' entry points of one operation; `Call` chooses.
#define EITHER(name) ENTRY(ZUB_##name), ENTRY(ZUB3_##name)

class AgentTest : public testing::TestWithParam<const char*> {
 protected:
  AgentTest() {
    recorder = &events_;
    EXPECT_EQ(ENTRY(ZUB_Init)(), 0);
    EXPECT_TRUE(!IsThird() || ENTRY(ZUB3_StartInstance)(kOath, nullptr, nullptr, &instance_) == 0);
  }
  ~AgentTest() override {
    ENTRY(ZUB_DeInit)();
    FreeLibrary(library_);
    fs::remove_all(folder_);
  }
  // A copy of each test's own, because the generation is settled when a file is loaded.
  HMODULE Load() const {
    const platform::ScopedVariable generation("KSV_AGENT_GENERATION", GetParam());
    fs::create_directories(folder_);
    fs::copy_file(SystemPath(KSV_AGENT_LIBRARY), folder_ / "agent.dll", fs::copy_options::skip_existing);
    return LoadLibraryW(support::PlatformPath<WCHAR>(folder_ / "agent.dll").c_str());
  }
  bool IsThird() const { return *GetParam() == '3'; }

  template <class... Values>
  Status Call(int32_t (*byName)(const char*, Values...), int32_t (*byInstance)(uint32_t, Values...),
              std::type_identity_t<Values>... values) const {
    return static_cast<Status>(IsThird() ? byInstance(instance_, values...) : byName(applet_, values...));
  }
  template <class Operation>
  static Answer Receive(uint16_t capacity, Operation operation) {
    Text buffer(capacity, '\0');
    uint16_t length = capacity;
    const Status status = operation(&length, reinterpret_cast<uint8_t*>(buffer.data()));
    return {status, status == kOk ? buffer.substr(0, length) : "", length};
  }
  int32_t Start() const {
    uint32_t session = 0;
    EXPECT_EQ(Call(EITHER(StartProvisioning), &session), kOk);
    return static_cast<int32_t>(session);
  }
  Status Send(int32_t session, const Text& text, int32_t type = 0) const {
    return Call(EITHER(SendData), session, type, Size(text), Data(text));
  }
  Answer Exchange(int32_t session, const Text& text, uint16_t capacity = 500) const {
    return Receive(capacity, [&](auto... out) {
      return Call(EITHER(SendAndReceiveData), session, 600, Size(text), Data(text), out...);
    });
  }
  Answer End(int32_t session, uint16_t capacity = 1000) const {
    return Receive(capacity, [&](auto... out) { return Call(EITHER(EndProvisioning), session, out...); });
  }
  Answer Provision(const Text& uri) const {
    const int32_t session = Start();
    EXPECT_EQ(Send(session, uri.substr(0, 5)), kOk);
    EXPECT_EQ(Send(session, uri.substr(5), 600), kOk);
    return End(session);
  }
  Answer Otp(const Text& token, int32_t selector = 0, const Text& extra = "", Answer* next = nullptr,
             uint16_t capacity = 8, uint16_t tokenCapacity = 1000) const {
    Answer otp{};
    const Answer advanced = Receive(tokenCapacity, [&](auto... tokenOut) {
      otp = Receive(capacity, [&](auto... out) {
        return Call(EITHER(GetOTP), selector, Size(token), Data(token), Size(extra), Data(extra), out..., tokenOut...);
      });
      return otp.status;
    });
    if (next != nullptr) *next = advanced;
    return otp;
  }
  Status Install(const char* id, const Text& package) const {
    std::ofstream(folder_ / "applet.trok", std::ios::binary) << package;
    return static_cast<Status>(ENTRY(ZUB_Install)(id, support::PlatformPath<WCHAR>(folder_ / "applet.trok").c_str()));
  }
  Status Register(const char* name, uint32_t* id) const {
    return static_cast<Status>(IsThird() ? ENTRY(ZUB3_StartInstance)(name, OnInstanceEvent, recorder, id)
                                         : ENTRY(ZUB_RegisterEventCb)(name, OnNamedEvent));
  }
  Status Unregister(const char* name, uint32_t id) const {
    return static_cast<Status>(IsThird() ? ENTRY(ZUB3_StopInstance)(id) : ENTRY(ZUB_UnregisterEventCb)(name));
  }

  const fs::path folder_ = fs::temp_directory_path() / ("ksv_agent_" + std::to_string(std::random_device()()));
  const platform::ScopedVariable home_{"KSV_AGENT_HOME", (folder_ / "home").string().c_str()};
  const HMODULE library_ = Load();
  // What the calls are about, by generation.
  const char* applet_ = kOath;
  uint32_t instance_ = 0;
  Recorder events_;
};

const Text kPackage =
    "KSV-APPLET 1\nid: com.norvo.time\ntitle: Time only\nversion: 2.10\nkinds: totp\n"
    "sha256: 2129d44c103f979831fd6fa79f4a0faf87cc7461dd03415c55be459ed4ce76a2\n";

}  // namespace

INSTANTIATE_TEST_SUITE_P(Generation, AgentTest, testing::Values("2", "3"));

TEST_P(AgentTest, CounterPasswordsAdvanceWithTheirToken) {
  Text token = Provision(kHotp + "0").data;
  Answer next{};
  for (const char* expected : {"755224", "287082", "359152", "969429", "338314", "254676", "287922", "162583"}) {
    EXPECT_EQ(Otp(token, 0, "", &next).data, expected);
    token = next.data;
  }
  EXPECT_EQ(Otp(Provision(kHotp + "18446744073709551615").data).status, kCounterExhausted);
}

TEST_P(AgentTest, TimePasswordsAreThePublishedOnes) {
  const std::pair<uint64_t, std::array<const char*, 3>> rows[] = {{59, {"94287082", "46119246", "90693936"}},
                                                                  {20000000000, {"65353130", "77737706", "47863826"}}};
  const Text tokens[] = {Provision("OTPAUTH://TOTP/a?digits=8&image=x&secret=" + kSeed20).data,
                         Provision("otpauth://totp/a?digits=8&algorithm=sha256&secret=" + kSeed32).data,
                         Provision("otpauth://totp/a?digits=8&algorithm=SHA512&secret=" + kSeed64).data};
  for (const auto& [time, passwords] : rows) {
    for (size_t i = 0; i < 3; ++i) EXPECT_EQ(Otp(tokens[i], 1, AtTime(time)).data, passwords[i]) << time;
  }
  // With the longest period now is still in the first one, whose password the counter's table gives.
  EXPECT_EQ(Otp(Provision(kTotp + "&period=4294967295").data).data, "755224");
  EXPECT_EQ(Otp(tokens[0], 1, "1234567").status, kBadExtraData);
  EXPECT_EQ(Otp(tokens[0], 2).status, kUnknownSelector);
}

TEST_P(AgentTest, NothingButTheWholeTokenOpens) {
  const Text token = Provision(kTotp).data;
  for (size_t i = 0; i < token.size(); ++i) {
    Text altered = token;
    altered[i] = static_cast<char>(altered[i] ^ 0x01);
    EXPECT_EQ(Otp(altered).status, kBadToken) << i;
    EXPECT_EQ(Otp(token.substr(0, i)).status, i == 0 ? kEmptyInput : kBadToken) << i;
  }
  EXPECT_EQ(Otp(token + Text(70000, 'K')).status, kBadToken);
  const fs::path key = folder_ / "home" / "token.key";
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_ / "home"), {}), 1) << "the key alone, and no draft of it";
  const char first = static_cast<char>(std::ifstream(key, std::ios::binary).get());
  for (const auto& [byte, status] : {std::pair{static_cast<char>(first ^ 0x20), kStoreFailure}, {first, kOk}}) {
    std::fstream(key, std::ios::binary | std::ios::in | std::ios::out).put(byte);
    EXPECT_EQ(Otp(token).status, status) << "a file that begins as no key does";
  }
  if (platform::kHasLayerSettings) {
    // A key that others may read is no secret any more.
    EXPECT_EQ(fs::status(key).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    fs::permissions(key, fs::perms::others_read, fs::perm_options::add);
    EXPECT_EQ(Otp(token).status, kStoreFailure);
  }
  fs::remove(key);
  EXPECT_EQ(Otp(token).status, kBadToken) << "no key";
  EXPECT_EQ(Provision(kTotp).status, kOk);
  EXPECT_EQ(Otp(token).status, kBadToken) << "another key";
}

TEST_P(AgentTest, ShortBuffersConsumeNothing) {
  const int32_t session = Start();
  const Answer tooShort = Exchange(session, kHotp + "7", 20);
  EXPECT_EQ(tooShort.status, kBufferTooSmall);
  EXPECT_NE(Exchange(session, kHotp + "7", tooShort.length).data.find("\"digits\":6,\"counter\":7}"), Text::npos);
  EXPECT_NE(Exchange(Start(), kTotp).data.find("\"label\":\"Norvo:al\u00EFce\",\"issuer\":\"Norvo\""), Text::npos);
  const Answer needed = End(session, 0);
  EXPECT_EQ(End(session, static_cast<uint16_t>(needed.length - 1)).status, kBufferTooSmall);
  const Text token = End(session, needed.length).data;
  EXPECT_EQ(token.size(), needed.length);
  EXPECT_EQ(End(session).status, kUnknownSession);
  for (const auto& [capacity, tokenCapacity] : {std::pair<uint16_t, uint16_t>{5, 1000}, {6, 10}}) {
    Answer next{};
    const Answer otp = Otp(token, 0, "", &next, capacity, tokenCapacity);
    EXPECT_EQ(otp.status, kBufferTooSmall);
    EXPECT_EQ(std::pair(otp.length, next.length), std::pair(uint16_t{6}, needed.length));
  }
}

TEST_P(AgentTest, RefusesWhatIsNoAccount) {
  // A star stands for a good secret, a blank ends a row.
  std::istringstream malformed(R"(otpauth http://totp/a?* otpauth://totp/?* otpauth://totp/a
      otpauth://totp/a?secret= otpauth://totp/a?*0189 otpauth://totp/a?*A otpauth://totp/a?*=
      otpauth://totp/%x4%8F%80%80?* otpauth://totp/%C3?* otpauth://totp/%4 otpauth://totp/%00?*
      otpauth://totp/a?*&* otpauth://totp/a?*#x otpauth://totp/a?*&digits=-6 otpauth://hotp/a?*
      otpauth://hotp/a?*&counter=18446744073709551616)");
  std::istringstream unsupported(R"(otpauth://yaotp/a?* otpauth://totp/a?secret=GEZDGNBV otpauth://totp/a?*&digits=5
      otpauth://totp/a?*&digits=9 otpauth://totp/a?*&digits=262 otpauth://totp/a?*&period=0
      otpauth://totp/a?*&period=4294967296 otpauth://totp/a?*&algorithm=MD5)");
  const auto status = [this](Text uri) {
    for (size_t star; (star = uri.find('*')) != uri.npos;) uri.replace(star, 1, "secret=" + kSeed20);
    return Provision(uri).status;
  };
  for (Text uri; malformed >> uri;) EXPECT_EQ(status(uri), kBadProvisioningData) << uri;
  for (Text uri; unsupported >> uri;) EXPECT_EQ(status(uri), kUnsupportedParameters) << uri;
  EXPECT_EQ(status("otpauth://totp/a?*&issuer=" + Text(257, 'i')), kUnsupportedParameters);
}

TEST_P(AgentTest, SessionsAreBoundedAndTheirOwners) {
  const int32_t session = Start();
  EXPECT_EQ(End(session).status, kEmptyInput);
  EXPECT_EQ(Send(session, ""), kEmptyInput);
  EXPECT_EQ(Send(session, "x", 1), kUnknownDataType);
  EXPECT_EQ(Send(session ^ 1, "x"), kUnknownSession);
  EXPECT_EQ(Send(session, Text(4097, 'x')), kInputTooLong);
  const int32_t full = Start();
  EXPECT_EQ(Send(full, Text(4096, 'x')), kOk);
  EXPECT_EQ(Send(full, "x"), kInputTooLong);
  EXPECT_EQ(Call(EITHER(SendData), session, 0, -1, Data("x")), kInvalidArgument);
  EXPECT_EQ(Call(EITHER(SendData), session, 0, 1, nullptr), kInvalidArgument);
  EXPECT_EQ(Call(EITHER(StartProvisioning), nullptr), kInvalidArgument);
  EXPECT_TRUE(!IsThird() || Register(kOath, nullptr) == kInvalidArgument);
  EXPECT_EQ(Exchange(session, "").data, "{\"received\":0,\"complete\":false,\"status\":110}");
  for (int i = 2; i < 64; ++i) Start();
  uint32_t handle = 0;
  EXPECT_EQ(Call(EITHER(StartProvisioning), &handle), kTooManySessions);
  EXPECT_EQ(Send(session, kTotp), kOk);
  EXPECT_EQ(End(session).status, kOk);
  EXPECT_EQ(Call(EITHER(StartProvisioning), &handle), kOk);

  for (int i = 1; IsThird() && i < 256; ++i) EXPECT_EQ(ENTRY(ZUB3_StartInstance)(kOath, nullptr, nullptr, &handle), 0);
  EXPECT_TRUE(!IsThird() || Register(kOath, &handle) == kTooManyInstances);

  // What belongs to the other generation is there, and says so.
  const int32_t other = IsThird() ? ENTRY(ZUB_StartProvisioning)(kOath, &handle) : ENTRY(ZUB3_StopInstance)(1);
  EXPECT_EQ(static_cast<Status>(other), kWrongGeneration);
  EXPECT_TRUE(ENTRY(ZUB_GetVersion)(&handle) == 0 && (handle & 0xFF) == (IsThird() ? 3u : 2u));
  EXPECT_EQ(ENTRY(ZUB_DeInit)(), 0);
  EXPECT_EQ(Call(EITHER(StartProvisioning), &handle), kNotInitialised);
  EXPECT_EQ(ENTRY(ZUB_Init)(), 0);
  EXPECT_EQ(Send(full, "x"), IsThird() ? kUnknownInstance : kUnknownSession);
}

TEST_P(AgentTest, AppletsComeAndGoByWholePackages) {
  for (size_t i = 0; i < kPackage.size(); ++i) {
    Text altered = kPackage;
    altered[i] = static_cast<char>(altered[i] ^ 0x01);
    EXPECT_EQ(Install(kTimeOnly, altered), kBadAppletPackage) << i;
    EXPECT_EQ(Install(kTimeOnly, kPackage.substr(0, i)), kBadAppletPackage) << i;
  }
  // With its own true digest each: what is refused is what the package says.
  for (const char* lines : {"title: T|version: 2..1|kinds: totp|", "title: T|version: 123456|kinds: totp|",
                            "title: T|version: 2|kinds: totp totp|", "title: T|version: 2|kinds: motp|",
                            "title: T|version: 2|kinds: totp|more: x|"}) {
    Text package = Text("KSV-APPLET 1|id: com.norvo.time|") + lines;
    std::ranges::replace(package, '|', '\n');
    package += "sha256: " + KsvKit::Hex(KsvKit::AsText(KsvKit::Crypto::Sha256(KsvKit::AsBytes(package)))) + "\n";
    EXPECT_EQ(Install(kTimeOnly, package), kBadAppletPackage) << package;
  }
  EXPECT_EQ(Install(kOath, kPackage), kBadAppletPackage);
  EXPECT_EQ(Status(ENTRY(ZUB_Uninstall)(kTimeOnly)), kAppletNotInstalled);
  uint32_t id = 0;
  EXPECT_EQ(Register(kTimeOnly, &id), kUnknownApplet);
  EXPECT_EQ(Register("", &id), kInvalidArgument);
  EXPECT_EQ(Install(kTimeOnly, kPackage), kOk);
  const auto list = [this](auto... out) { return Status(ENTRY(ZUB_GetCapabilities)(nullptr, 1, out...)); };
  EXPECT_EQ(Receive(500, list).data, Text("{\"applets\":[\"") + kOath + "\",\"" + kTimeOnly + "\"]}");
  const Text token = Provision(kTotp).data;
  EXPECT_EQ(Register(kTimeOnly, &id), kOk);
  const auto use = [&](const char* applet) {
    applet_ = applet;
    std::swap(instance_, id);
  };
  use(kTimeOnly);
  EXPECT_EQ(Otp(token).status, kBadToken) << "another applet's";
  EXPECT_EQ(Provision(kHotp + "0").status, kUnsupportedParameters);
  const int32_t session = Start();
  use(kOath);
  EXPECT_EQ(Send(session, "x"), kUnknownSession) << "another caller's";
  use(kTimeOnly);
  EXPECT_EQ(ENTRY(ZUB_Uninstall)(kTimeOnly), 0);
  EXPECT_TRUE(events_.Await("applet-removed"));
  EXPECT_EQ(Install(kTimeOnly, kPackage), kOk);
  EXPECT_EQ(Send(session, "x"), kUnknownSession) << "it went with its applet";
}

TEST_P(AgentTest, EventsComeUntilTheirEndAndNotAfter) {
  constexpr const char* kInstalled = ":3:{\"event\":\"applet-installed\",\"applet\":\"com.norvo.time\"}";
  ASSERT_EQ(Install(kTimeOnly, kPackage), kOk);
  uint32_t other = 0;
  EXPECT_TRUE(!IsThird() || ENTRY(ZUB3_StopInstance)(instance_) == 0);
  ASSERT_EQ(Register(kOath, &instance_), kOk);
  EXPECT_TRUE(IsThird() || Register(kOath, &other) == kAlreadyRegistered);
  EXPECT_EQ(Provision(kTotp + "&period=1").status, kOk);
  const Text self = IsThird() ? std::to_string(instance_) : kOath;
  EXPECT_TRUE(events_.Await(self + ":2:{\"event\":\"provisioned\",\"kind\":\"totp\"}"));
  // Each takes up to a second; that they go on coming is the same in both generations.
  EXPECT_TRUE(events_.Await(self + ":1:{\"event\":\"changed\",\"period\":1,\"remaining\":1}", IsThird() ? 2 : 1));

  // A library that the host frees stays until the registration has ended.
  FreeLibrary(library_);
  EXPECT_EQ(Install(kTimeOnly, kPackage), kOk);
  EXPECT_TRUE(events_.Await(self + kInstalled));
  ASSERT_EQ(Load(), library_);

  // Events come in order, so what the second registration has heard tells what the first one has not.
  ASSERT_EQ(Register(kTimeOnly, &other), kOk);
  EXPECT_EQ(Unregister(kOath, instance_), kOk);
  const auto heard = events_.Count(self + ":");
  EXPECT_EQ(Install(kTimeOnly, kPackage), kOk);
  EXPECT_TRUE(events_.Await(kInstalled, 2));
  EXPECT_EQ(events_.Count(self + ":"), heard);
  EXPECT_NE(Unregister(kOath, instance_), kOk);
}

TEST_P(AgentTest, TheEndWaitsForTheCallbackThatRuns) {
  ASSERT_EQ(Install(kTimeOnly, kPackage), kOk);
  std::promise<void> entered, leave;
  std::promise<Status> ended;
  std::atomic<bool> left = false;
  uint32_t id = 0;
  // The second event ends its own registration, from within.
  events_.insideAppletEvent = [&, calls = 0]() mutable {
    if (++calls == 2) return ended.set_value(Unregister(kOath, id));
    entered.set_value();
    leave.get_future().wait();
    left = true;
  };
  ASSERT_EQ(Register(kOath, &id), kOk);
  EXPECT_EQ(Install(kTimeOnly, kPackage), kOk);
  entered.get_future().wait();
  // Gives up after three seconds, which one generation shows for both libraries: all goes on.
  EXPECT_TRUE(!IsThird() || Status(ENTRY(ZUB_DeInit)()) == kCallbackRunning);
  std::future<Status> end = std::async(std::launch::async, [&, id] { return Unregister(kOath, id); });
  leave.set_value();
  EXPECT_EQ(end.get(), kOk);
  EXPECT_TRUE(left);
  ASSERT_EQ(Register(kOath, &id), kOk);
  EXPECT_EQ(ENTRY(ZUB_Uninstall)(kTimeOnly), 0);
  EXPECT_EQ(ended.get_future().get(), kOk);
}
