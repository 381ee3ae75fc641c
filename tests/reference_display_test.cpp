#include <gmock/gmock.h>

#include <future>
#include <iterator>
#include <set>

#include "kit/display/channel.h"
#include "kit/display/sealed_input.h"
#include "kit/shared/crypto.h"
#include "kit/shared/key_store.h"
#include "kit/shared/system.h"
#include "tests/support/reference_display_fixture.h"

namespace {

using KsvDisplay::Status;
using Text = std::string;
using namespace support;

class ReferenceDisplay : public support::ReferenceDisplayTest {
 protected:
  KsvKit::SecretBytes Key() const { return *KsvKit::KeyStore(folder_ / "display.key").Load(); }
  // What the holder of the key reads, or a word for what is wrong.
  Text Open(const Text& sealed, const Text& stream = "") const {
    const auto input = KsvDisplay::OpenInput(KsvKit::AsBytes(sealed), Key(), KsvKit::AsBytes(stream));
    return input ? std::to_string(input->asked.imageId) + ":" + Text(KsvKit::AsText(input->content)) : "sealed";
  }
  Text Tagged(Text frame, const Text& stream) const {
    const auto key = KsvDisplay::Channel::FrameKey(Key(), KsvKit::AsBytes(stream));
    const auto tag = KsvKit::Crypto::Hmac(KsvKit::Crypto::Hash::kSha256, key, KsvKit::AsBytes(frame));
    return frame + Text(KsvKit::AsText(tag));
  }
  std::pair<int32_t, Text> Exchange(int32_t type, const Text& sent, uint32_t capacity = 32, int32_t flag = 1) const {
    Text received(capacity, '\0');
    uint32_t length = capacity;
    const int32_t status = wys_.SendRecv(context_, session_, type, static_cast<uint32_t>(sent.size()), Data(sent),
                                         &length, reinterpret_cast<uint8_t*>(received.data()), flag);
    return {status, status == 0 ? received.substr(0, length) : std::to_string(length)};
  }
  void EnterPin(const Text& pin) {
    for (const char digit : pin) EXPECT_EQ(Tap(Text(1, digit)), 0);
  }
};

TEST_F(ReferenceDisplay, PinComesBackSealedOnceAndOnlyWhole) {
  ASSERT_EQ(Create(ImageRequest{}), 0);
  EnterPin("20");
  EXPECT_EQ(wys_.SubmitInput(session_, 77, 0, nullptr), Code(Status::kInputIncomplete));
  Tap("OK");
  EXPECT_EQ(Respond(), std::pair(Code(Status::kInputIncomplete), Text()));
  EnterPin("773");
  EXPECT_EQ(Respond(), std::pair(Code(Status::kInputIncomplete), Text())) << "there is room for a sixth digit";
  EnterPin("19");  // the second is one too many
  const auto [status, sealed] = Respond();
  EXPECT_EQ(status, 0);
  EXPECT_EQ(Open(sealed), "77:207731");
  EXPECT_EQ(Open(sealed, "stream"), "sealed");
  Text altered = sealed;
  for (const size_t at : {size_t{0}, size_t{7}, size_t{11}, size_t{13}, size_t{40}, sealed.size() - 1}) {
    altered[at] ^= 1;
    EXPECT_EQ(Open(altered), "sealed") << at;
    altered[at] ^= 1;
  }
  EXPECT_EQ(Open(sealed.substr(0, 20)), "sealed");
  EXPECT_EQ(Respond().first, Code(Status::kInputIncomplete));
  EnterPin("0000");
  Tap("OK");
  EnterPin("1");  // too late
  EXPECT_EQ(Respond().second.size(), sealed.size()) << "the length tells neither the PIN nor how long it is";
}

TEST_F(ReferenceDisplay, KeyCountsWhenPressAndReleaseFallOnIt) {
  ASSERT_EQ(Create(ImageRequest{}), 0);
  EnterPin("5555");
  Tap("Clear");
  EnterPin("1234");
  auto keys = Keys();
  const WysPoint one = MiddleOf(keys["1"]);
  const WysPoint corner{static_cast<uint16_t>(keys["1"].x), static_cast<uint16_t>(keys["1"].y)};
  const WysPoint beside{static_cast<uint16_t>(keys["1"].x - 1), static_cast<uint16_t>(keys["1"].y)};
  EXPECT_EQ(Click(one, MiddleOf(keys["2"])), 0);
  EXPECT_EQ(Click(beside, one), 0);
  EXPECT_EQ(Click({0, 0}, {399, 459}), 0);
  EXPECT_EQ(ByUser(WM_LBUTTONUP, one), 0);
  EXPECT_EQ(Click(corner, one), 0);
  EXPECT_EQ(Click(one, one), 0) << "a digit of an order that was not painted yet";
  EXPECT_EQ(wys_.SubmitInput(session_, 0, 0, nullptr), 0);
  EXPECT_EQ(ByUser(WM_LBUTTONDOWN, one), Code(Status::kInputClosed));
  EXPECT_EQ(ByUser(WM_LBUTTONUP, one), Code(Status::kInputClosed));
  EXPECT_EQ(Open(Respond().second), "77:12341");
}

TEST_F(ReferenceDisplay, ClicksAreTheUsersOrDoNotCount) {
  ASSERT_EQ(Create(ImageRequest{.type = 2, .least = 0, .greatest = 0}), 0);
  const WysPoint ok = MiddleOf(Keys().at("OK"));
  const WysPoint beside{20, 10};
  const int32_t refused = Code(Status::kNoUserInput);
  const auto click = [&](WysPoint down, WysPoint up) {
    return std::pair{ByUser(WM_LBUTTONDOWN, down), ByUser(WM_LBUTTONUP, up)};  // in this order
  };
  const auto claims = [&](UINT message, WysPoint) { return Tell(message, ok); };
  const auto confusesBoth = [&](UINT message, WysPoint at) {
    return Tell(message ^ WM_LBUTTONDOWN ^ WM_LBUTTONUP, at);
  };
  const auto repeats = [&](UINT message, WysPoint at) { return Tell(message, at), Tell(message, at); };
  EXPECT_EQ((std::pair{Tell(WM_LBUTTONDOWN, ok), Tell(WM_LBUTTONUP, ok)}), std::pair(refused, refused));
  host_ = claims;
  EXPECT_EQ(click(beside, beside), std::pair(refused, refused)) << "the user clicks elsewhere";
  host_ = confusesBoth;
  EXPECT_EQ(click(ok, ok), std::pair(refused, refused)) << "a press for a release";
  host_ = [&](UINT message, WysPoint at) {
    return std::async(std::launch::async, [&] { return Tell(message, at); }).get();
  };
  EXPECT_EQ(click(ok, ok), std::pair(refused, refused)) << "on another thread";
  EXPECT_EQ(Respond().first, Code(Status::kInputIncomplete));
  host_ = nullptr;
  ASSERT_EQ(Create(ImageRequest{.type = 2, .size = {391, 240}, .least = 0, .greatest = 0}), 0);
  EXPECT_EQ(click(ok, ok), std::pair(Code(Status::kImageNotVisible), Code(Status::kImageNotVisible))) << "one column";
  ASSERT_EQ(Create(ImageRequest{.type = 2, .size = {390, 240}, .least = 0, .greatest = 0}), 0);
  const WysPoint there = MiddleOf(Keys().at("OK"));
  host_ = repeats;
  EXPECT_EQ(click(there, there), std::pair(refused, refused)) << "the second time";
  EXPECT_EQ(Respond().first, 0);
}

TEST_F(ReferenceDisplay, PadIsShuffledForEachImageInputAndDigit) {
  const auto order = [this] {
    Text digits;
    std::map<std::pair<int, int>, Text> byPlace;
    for (const auto& [label, area] : Keys()) byPlace[{area.y, area.x}] = label;
    for (const auto& [place, label] : byPlace) digits += label.size() == 1 ? label : "";
    return digits;
  };
  std::set<Text> orders;
  for (int i = 0; i < 4; ++i) {
    ASSERT_EQ(Create(ImageRequest{}), 0);
    orders.insert(order());
    EXPECT_EQ(wys_.ClearInput(session_, 0), 0);
    orders.insert(order());
  }
  // 3 in 10! that two of eight meet by chance, a few times over.
  EXPECT_GE(orders.size(), 7U);
  for (const Text& digits : orders) EXPECT_EQ(std::set<char>(digits.begin(), digits.end()).size(), digits.size());
  ASSERT_EQ(Create(ImageRequest{.options = 1}), 0);
  orders = {order()};
  for (const char digit : {'1', '2', '3'}) {
    EnterPin({digit});
    orders.insert(order());
  }
  EXPECT_GE(orders.size(), 3U);
  EnterPin("456");
  EXPECT_EQ(Open(Respond().second), "77:123456");
}

TEST_F(ReferenceDisplay, ConfirmationAndTextAreInputsToo) {
  ASSERT_EQ(Create(ImageRequest{.type = 2, .id = 5, .size = {}, .least = 0, .greatest = 0}), 0);
  EXPECT_EQ(Respond().first, Code(Status::kInputIncomplete));
  Tap("OK");
  EXPECT_EQ(Open(Respond().second), "5:OK");

  ASSERT_EQ(Create(ImageRequest{.type = 3, .id = 6, .size = {}, .least = 2, .greatest = 4}), 0);
  constexpr WCHAR kText[] = {'a', 0x20AC, 0xD83D, 0xDE00, 'b', 0};
  constexpr WCHAR kHalf[] = {'a', 0xD83D, 0};
  const std::tuple<const WCHAR*, uint32_t, Status> kCases[] = {
      {nullptr, 0, Status::kWrongInputType}, {nullptr, 3, Status::kInvalidArgument}, {kText, 3, Status::kBadText},
      {kHalf, 5, Status::kBadText},          {kText, 5000, Status::kBadText},        {kText, 9, Status::kOk},
      {kText, 9, Status::kInputClosed}};
  for (const auto& [text, length, status] : kCases) {
    EXPECT_EQ(wys_.SubmitInput(session_, 6, length, text), Code(status));
  }
  EXPECT_EQ(Open(Respond().second), "6:a\u20AC\U0001F600b");
  EXPECT_EQ(Exchange(3, R"({"error":true})").first, 0);
  EXPECT_EQ(wys_.SubmitInput(session_, 6, 9, kText), 0);
  const Text again = Respond().second;
  EXPECT_EQ(Open(again), "6:a\u20AC\U0001F600b") << "another try";
  EXPECT_EQ(KsvDisplay::OpenInput(KsvKit::AsBytes(again), Key(), {})->asked.texts, "Type your answer in the page");
}

// The variables' names stand in the library that the tests load, so they would be found.
TEST(ReferenceDisplayFile, ThatIsShippedDoesNotKnowTheTestsVariables) {
  const auto knows = [](const char* file) {
    std::ifstream stream(file, std::ios::binary);
    return Text(std::istreambuf_iterator(stream), {}).find("KSV_DISPLAY_LAYOUT") != Text::npos;
  };
  EXPECT_TRUE(knows(KSV_DISPLAY_LIBRARY));
  EXPECT_FALSE(knows(KSV_SHIPPED_DISPLAY_LIBRARY));
}

TEST_F(ReferenceDisplay, LockThatIsALinkIsRefused) {
  if (!platform::kHasLayerSettings) GTEST_SKIP() << "links need a right of their own there";
  const std::filesystem::path link = folder_ / "lock";
  std::filesystem::create_directories(folder_);
  std::filesystem::create_symlink(folder_ / "elsewhere", link);
  EXPECT_ANY_THROW(KsvKit::System::FileLock{link});
  EXPECT_FALSE(std::filesystem::exists(folder_ / "elsewhere"));
}

TEST_F(ReferenceDisplay, PageTellsOfAWrongPinAndTheUserMayCorrectOrCancel) {
  ASSERT_EQ(Create(ImageRequest{.least = 4, .greatest = 4}), 0);
  for (const char* bad : {"", "[]", "1", "{\"error\":1}", "{\"attemptsLeft\":-1}", "{\"attemptsLeft\":100}",
                          "{\"text\":\"Type your password\"}", "{\"error\":true", "{\"challenge\":\"short\"}",
                          "{\"attemptsLeft\":1.5}"}) {
    EXPECT_EQ(Exchange(3, bad).first, Code(Status::kBadRequest)) << bad;
  }
  EnterPin("12");
  EXPECT_EQ(Exchange(3, R"({"attemptsLeft":3})").first, 0);
  Tap("Delete");
  Tap("OK");
  EXPECT_EQ(Respond().first, Code(Status::kInputIncomplete));
  EnterPin("346");
  Tap("Delete");
  EXPECT_EQ(Respond().first, Code(Status::kInputIncomplete)) << "it was complete before";
  EnterPin("5");
  EXPECT_EQ(Open(Respond().second), "77:1345");
  EnterPin("99");
  EXPECT_EQ(Exchange(3, R"({"error":true,"attemptsLeft":1,"challenge":"another-challenge-22ch"})").first, 0);
  EnterPin("2468");
  const Text sealed = Respond().second;
  EXPECT_EQ(Open(sealed), "77:2468") << "what was entered before the verdict is gone";
  EXPECT_EQ(KsvDisplay::OpenInput(KsvKit::AsBytes(sealed), Key(), {})->asked.challenge, "another-challenge-22ch");
  EXPECT_EQ(Exchange(3, R"({"attemptsLeft":1})").first, 0);
  EnterPin("2468");
  EXPECT_EQ(KsvDisplay::OpenInput(KsvKit::AsBytes(Respond().second), Key(), {})->asked.challenge,
            "another-challenge-22ch");
  EXPECT_EQ(Exchange(3, R"({"error":true,"attemptsLeft":0})").first, 0);
  const WysPoint key = MiddleOf(Keys().at("1"));
  EXPECT_EQ(Click(key, key), Code(Status::kInputClosed));
  EXPECT_EQ(Respond().first, Code(Status::kInputIncomplete));
  ASSERT_EQ(wys_.ClearInput(session_, 0), 0);
  EnterPin("12");
  Tap("Cancel");
  EXPECT_EQ(Respond().first, Code(Status::kInputCancelled));
  EXPECT_EQ(Click(key, key), Code(Status::kInputClosed));
}

TEST_F(ReferenceDisplay, DescriptionsAreChecked) {
  const Text pin = ImageRequest{}.Block();
  const std::pair<Status, std::vector<Text>> kCases[] = {
      {Status::kBadDescriptor, {"", pin.substr(0, 49), Text(pin).replace(0, 1, "\1"), Text(pin).replace(41, 1, "\1")}},
      {Status::kUnknownInputType, {ImageRequest{.type = 0}.Block(), ImageRequest{.type = 4}.Block()}},
      {Status::kBadImageSize,
       {ImageRequest{.size = {199, 420}}.Block(), ImageRequest{.size = {320, 259}}.Block(),
        ImageRequest{.size = {320, 65535}}.Block()}},
      {Status::kBadLimits,
       {ImageRequest{.least = 7}.Block(), ImageRequest{.greatest = 17}.Block(), ImageRequest{.type = 2}.Block()}},
      {Status::kUnknownOption,
       {ImageRequest{.theme = 2}.Block(), ImageRequest{.options = 2}.Block(),
        ImageRequest{.options = 512 + 1024}.Block()}},
      // 3 * 65535 * 65535 is 3 more than a multiple of 2^32 when it is taken without care.
      {Status::kBadLogo,
       {ImageRequest{.logo = {2, 2}, .logoBytes = 11}.Block(), ImageRequest{.logo = {2, 2}, .logoBytes = 13}.Block(),
        ImageRequest{.logo = {65535, 65535}, .logoBytes = 0xFFFA0003 % 4096}.Block(),
        ImageRequest{.logo = {1025, 1}, .logoBytes = 3075}.Block()}},
      {Status::kOk,
       {ImageRequest{.logo = {65535, 65535}}.Block(),
        ImageRequest{.size = {2048, 2048}, .logoAt = {2047, 2040}, .logo = {1024, 3}, .logoBytes = 9216}.Block(),
        ImageRequest{
            .size = {200, 260}, .theme = 1, .greatest = 16, .options = 1024 + 256, .logo = {1, 1024}, .logoBytes = 3072}
            .Block(),
        ImageRequest{.id = 0, .size = {}, .least = 0, .greatest = 0}.Block()}}};
  for (const auto& [status, blocks] : kCases) {
    for (const Text& block : blocks) {
      EXPECT_EQ(Create(block), Code(status)) << Code(status) << ", row " << &block - blocks.data();
      EXPECT_TRUE(status != Status::kOk || wys_.RepaintImage(session_, 0) == 0);
    }
  }
  // What the page left open comes back in the block.
  EXPECT_NE(block_.substr(6, 4), Text(4, '\0'));
  EXPECT_EQ(block_.substr(10, 4), Text("\x40\x01\xA4\x01"));
}

TEST_F(ReferenceDisplay, FramesAreCheckedAndClicksOnThemAreTheInput) {
  const Text good = FrameBytes(20, 10);
  const Text bad[] = {"",
                      good.substr(0, 13),
                      good + '\0',
                      Text(good).replace(0, 1, "k"),
                      Text(good).replace(4, 1, "\2"),
                      Text(good).replace(5, 1, "\2"),
                      FrameBytes(0, 10),
                      FrameBytes(2049, 1),
                      FrameBytes(20, 10, 1),
                      Text("KSVF\1\0", 6) + BigEndian(0xFFFFFFFF, 4) + BigEndian(0xFFFA0003, 4)};
  for (const Text& bytes : bad) EXPECT_EQ(Frame(bytes), Code(Status::kBadFrame)) << &bytes - bad;
  EXPECT_EQ(Frame(FrameBytes(20, 10, 1) + Text(32, 'x')), Code(Status::kFrameNotAuthentic));
  EXPECT_EQ(Frame(good), 0);
  EXPECT_EQ(Respond().first, Code(Status::kInputIncomplete));
  const auto click = [this](WysPoint down, WysPoint up) { return Tell(WM_LBUTTONDOWN, down) + Tell(WM_LBUTTONUP, up); };
  EXPECT_EQ(click({10, 5}, {29, 14}), 0);
  EXPECT_EQ(click({9, 5}, {12, 7}), 0);
  EXPECT_EQ(click({12, 7}, {30, 14}), 0);
  EXPECT_EQ(click({12, 7}, {12, 7}), 0);
  EXPECT_EQ(Open(Respond().second), "9:" + Text("\0\x13\0\x9\0\x2\0\x2", 8));
  for (int i = 0; i < 70; ++i) click({12, 7}, {12, 7});
  EXPECT_EQ(Open(Respond().second).size(), 2U + 64 * 4) << "as many as count";
}

TEST_F(ReferenceDisplay, ChannelBindsFramesAndInputsToItsKey) {
  for (const Text& bad : {Text(3, '\0'), Text("\0\3\xaa\xbb\xcc", 5), Text("\0\0\0\2\1", 5), Text("\xff\xff\0\0", 4)}) {
    EXPECT_EQ(Exchange(250, bad), std::pair(Code(Status::kBadSetupMessage), Text("32")));
  }
  const Text stream = Exchange(250, Text("\0\3\xaa\xbb\xcc\xdd\xee\0\1\xff", 10)).second;
  EXPECT_EQ(stream.size(), 32U);
  EXPECT_NE(stream, Exchange(250, Text(4, '\0')).second);
  for (const uint32_t length : {0U, 33U}) {
    EXPECT_EQ(wys_.SetStreamKey(session_, length, Data(Text(33, 'k'))), Code(Status::kInvalidArgument));
  }
  ASSERT_EQ(Frame(FrameBytes(20, 10)), 0);
  ASSERT_EQ(wys_.SetStreamKey(session_, 32, Data(stream)), 0);
  EXPECT_EQ(Respond().first, Code(Status::kUnknownImage)) << "an image of before";
  const Text frame = FrameBytes(20, 10, 1);
  EXPECT_EQ(Frame(FrameBytes(20, 10)), Code(Status::kFrameNotAuthentic));
  EXPECT_EQ(Frame(Tagged(frame, "another stream")), Code(Status::kFrameNotAuthentic));
  for (const size_t at : {size_t{20}, frame.size(), frame.size() + 31}) {
    Text altered = Tagged(frame, stream);
    altered[at] ^= 1;
    EXPECT_EQ(Frame(altered), Code(Status::kFrameNotAuthentic)) << at;
  }
  EXPECT_NE(KsvDisplay::Channel::FrameKey(Key(), KsvKit::AsBytes(stream)),
            KsvDisplay::Channel::InputKey(Key(), KsvKit::AsBytes(stream)));
  EXPECT_EQ(Frame(Tagged(frame, stream)), 0);
  EXPECT_EQ(Tell(WM_LBUTTONDOWN, {11, 6}), Code(Status::kNoUserInput));
  Click({11, 6}, {11, 6});
  const Text sealed = Respond().second;
  EXPECT_EQ(Open(sealed), "sealed");
  EXPECT_EQ(Open(sealed, stream), "9:" + Text("\0\1\0\1", 4));
}

// Another thread of the host may write to the frame at any time after it was handed in.
TEST(ReferenceDisplayFrame, IsWhatWasReadWhateverBecomesOfTheCallersMemory) {
  const KsvKit::Bytes key(32, 'k');
  Text memory = FrameBytes(2, 2, 1);
  memory += Text(KsvKit::AsText(KsvKit::Crypto::Hmac(KsvKit::Crypto::Hash::kSha256, key, KsvKit::AsBytes(memory))));
  const Text given = memory;
  const auto frame = KsvDisplay::Channel::ReadFrame(KsvKit::AsBytes(memory));
  memory.assign(memory.size(), 'x');
  EXPECT_NO_THROW(KsvDisplay::Channel::CheckTag(frame, key));
  EXPECT_EQ(KsvKit::AsText(frame.bytes), given);
  EXPECT_EQ(frame.pixels->rgb, KsvKit::Bytes(12, 0x55));
}

TEST_F(ReferenceDisplay, MessagesHonourTheBuffer) {
  EXPECT_EQ(Exchange(0, "echo"), std::pair(0, Text("echo")));
  EXPECT_EQ(Exchange(0, "echo", 3), std::pair(11, Text("4")));
  EXPECT_EQ(Exchange(0, "echo", 3, 0), std::pair(0, Text()));
  EXPECT_EQ(Exchange(250, Text(4, '\0'), 31), std::pair(11, Text("32")));
  EXPECT_EQ(Exchange(1, "", 500).second.front(), '{');
  EXPECT_EQ(Exchange(4, "").first, Code(Status::kUnknownMessageType));
  EXPECT_EQ(Exchange(0, "", 32, 2).first, Code(Status::kInvalidArgument));
  EXPECT_EQ(Exchange(0, Text(1024 * 1024 + 1, 'x')).first, Code(Status::kInvalidArgument));
}

TEST_F(ReferenceDisplay, SealsWhatWasAskedForOneImage) {
  const Text challenge(22, 'c');
  const auto ask = [&](const Text& reference, const Text& of) {
    return Exchange(2, R"({"reference": ")" + reference + R"(", "challenge": ")" + of + "\"}", 0).first;
  };
  for (const Text& bad : {Text("\xC3"), Text("a\u202Eb"), Text("a\\nb"), Text(65, 'x')}) {
    EXPECT_EQ(ask(bad, challenge), Code(Status::kBadRequest)) << bad;
  }
  for (const Text& bad : {Text(21, 'c'), Text(89, 'c'), Text(22, '.')}) {
    EXPECT_EQ(ask("x", bad), Code(Status::kBadRequest)) << bad;
  }
  for (const Text& bad : {Text("{"), Text("[]"), Text(R"({"amount": "1"})"), Text(R"({"reference": 1})")}) {
    EXPECT_EQ(Exchange(2, bad).first, Code(Status::kBadRequest)) << bad;
  }
  ASSERT_EQ(ask("12 \u20AC to Norvo", challenge), 0);
  for (const bool isAsked : {true, false}) {
    ASSERT_EQ(Create(ImageRequest{.type = 2, .least = 0, .greatest = 0, .options = 1024}), 0);
    Tap("OK");
    const Text sealed = Respond().second;  // makes the key
    const auto input = KsvDisplay::OpenInput(KsvKit::AsBytes(sealed), Key(), {});
    ASSERT_TRUE(input);
    EXPECT_EQ(input->asked.caption, "Norvo Bank");
    EXPECT_EQ(input->asked.reference, isAsked ? "12 \u20AC to Norvo" : "");
    EXPECT_EQ(input->asked.challenge, isAsked ? challenge : "");
    EXPECT_EQ(input->asked.texts, "Bitte best\u00E4tigen\nAbbrechen\nBest\u00E4tigen");
  }
  ASSERT_EQ(ask("", challenge), 0);
  ASSERT_EQ(Frame(FrameBytes(20, 10)), 0);
  EXPECT_EQ(Tell(WM_LBUTTONDOWN, {12, 7}) + Tell(WM_LBUTTONUP, {12, 7}), 0);
  EXPECT_EQ(KsvDisplay::OpenInput(KsvKit::AsBytes(Respond().second), Key(), {})->asked.challenge, challenge);
}

TEST_F(ReferenceDisplay, NothingIsTakenOnTrust) {
  const WysPoint point{};
  uint8_t byte = 0;
  uint32_t word = 0;
  const WysSessionRequest noWindow{0, 0xFFFF, context_};
  const WysSessionRequest otherFeatures{1, 0xFFFE, context_};
  for (const char* caption : {"line\nfeed", "\xC3", "\xC0\x80", "\xED\xA0\x80", "a\u202Eb", "a\U000E0041b"}) {
    EXPECT_EQ(wys_.Init(0, caption, &word), Code(Status::kInvalidArgument)) << caption;
  }
  const int32_t refusals[] = {wys_.Init(0, Text(65, 'x').c_str(), &word),
                              wys_.EstablishSession(&noWindow, &word),
                              wys_.EstablishSession(&otherFeatures, &word),
                              wys_.CreateStdImage(session_, &point, nullptr, 50, 0, 0),
                              wys_.CreateStdImage(session_, &point, &byte, 1, 0, 1),
                              wys_.MouseDown(session_, 0, nullptr),
                              wys_.SubmitInputAndGetResponse(session_, 0, nullptr, &byte),
                              wys_.SetStreamKey(session_, 5, nullptr),
                              wys_.SubmitFrame(session_, 0, &point, 5, nullptr),
                              wys_.SendRecv(context_, 0, 0, 1, nullptr, &word, &byte, 1)};
  EXPECT_THAT(refusals, testing::Each(Code(Status::kInvalidArgument)));
  for (const uint32_t id : {uint32_t{0}, session_ + 1}) {
    const int32_t unknown[] = {wys_.CloseSession(id), wys_.RepaintImage(id, 0), wys_.SetStreamKey(id, 1, &byte),
                               wys_.SendRecv(context_, id, 250, 0, nullptr, &word, &byte, 1),
                               wys_.RegisterEvents(id, nullptr, nullptr, nullptr)};
    EXPECT_THAT(unknown, testing::Each(Code(Status::kUnknownSession)));
  }
  EXPECT_EQ(wys_.DeInit(context_ + 1), Code(Status::kUnknownContext));
  ASSERT_EQ(Create(ImageRequest{}), 0);
  EXPECT_EQ(wys_.ReleaseImage(session_, 78), Code(Status::kUnknownImage));
  EXPECT_EQ(wys_.ReleaseImage(session_, 77), 0);
  EXPECT_EQ(wys_.ReleaseImage(session_, 77), Code(Status::kUnknownImage));
}

TEST_F(ReferenceDisplay, WindowHasOneSession) {
  // Another page in the same window gets the session, but not what the first one left in it.
  const uint32_t first = session_;
  const uint32_t earlier = context_;
  ASSERT_EQ(Create(ImageRequest{}), 0);
  ASSERT_EQ(wys_.SetStreamKey(session_, 3, Data("key")), 0);
  ASSERT_EQ(wys_.Init(7, nullptr, &context_), 0);
  EXPECT_EQ(Establish(), 42);
  EXPECT_EQ(session_, first);
  EXPECT_EQ(wys_.RepaintImage(session_, 0), Code(Status::kUnknownImage));
  ASSERT_EQ(Create(ImageRequest{}), 0);
  EnterPin("123456");
  EXPECT_EQ(Open(Respond().second), "77:123456") << "without the first one's stream key";
  EXPECT_EQ(wys_.DeInit(earlier), 0);
  EXPECT_EQ(wys_.CloseSession(session_), 0);
  EXPECT_EQ(Establish(), 0);
  EXPECT_EQ(wys_.DeInit(context_), 0);
  EXPECT_EQ(wys_.CloseSession(session_), Code(Status::kUnknownSession));
  EXPECT_EQ(wys_.DeInit(context_), Code(Status::kUnknownContext));
}

TEST_F(ReferenceDisplay, WindowMayGo) {
  ASSERT_EQ(Create(ImageRequest{}), 0);
  window_.Destroy();
  EXPECT_EQ(wys_.RepaintImage(session_, 0), Code(Status::kWindowGone));
  EXPECT_EQ(Establish(), Code(Status::kWindowGone));
  EXPECT_EQ(wys_.CloseSession(session_), 0);
}

}  // namespace
