#include <gmock/gmock.h>

#include <set>

#include "kit/display/channel.h"
#include "kit/display/sealed_input.h"
#include "kit/display/visible_text.h"
#include "kit/shared/crypto.h"
#include "kit/shared/key_store.h"
#include "tests/support/reference_display_fixture.h"

namespace {

using KsvDisplay::Status;
using support::ImageRequest;
using Text = std::string;

using support::BigEndian;
using support::Code;
using support::FrameBytes;

class ReferenceDisplay : public support::ReferenceDisplayTest {
 protected:
  KsvKit::SecretBytes Key() const { return *KsvKit::KeyStore(folder_ / "display.key").Load(); }
  // What the holder of the key reads, or a word for what is wrong.
  Text Open(const Text& sealed, const Text& stream = "") const {
    const auto input = KsvDisplay::OpenInput(KsvKit::AsBytes(sealed), Key(), KsvKit::AsBytes(stream));
    return input ? std::to_string(input->imageId) + ":" + Text(KsvKit::AsText(input->content)) : "sealed";
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
  EXPECT_EQ(Respond(), std::pair(Code(Status::kInputIncomplete), Text()));
  EnterPin("77319");  // the seventh is one too many
  Tap("OK");
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
  EXPECT_EQ(Respond().second.size(), sealed.size()) << "the length tells neither the PIN nor how long it is";
}

TEST_F(ReferenceDisplay, KeyCountsWhenPressAndReleaseFallOnIt) {
  ASSERT_EQ(Create(ImageRequest{}), 0);
  EnterPin("1234");
  auto keys = Keys();
  const WysPoint one = MiddleOf(keys["1"]);
  const WysPoint two = MiddleOf(keys["2"]);
  const WysPoint corner{static_cast<uint16_t>(keys["1"].x), static_cast<uint16_t>(keys["1"].y)};
  const WysPoint beside{static_cast<uint16_t>(keys["1"].x - 1), static_cast<uint16_t>(keys["1"].y)};
  EXPECT_EQ(Click(one, two), 0);
  EXPECT_EQ(Click(beside, one), 0);
  EXPECT_EQ(Click({0, 0}, {65535, 65535}), 0);
  EXPECT_EQ(wys_.MouseUp(session_, 0, &one), 0);
  EXPECT_EQ(Click(corner, one), 0);
  EXPECT_EQ(Open(Respond().second), "77:12341");

  EnterPin("5555");
  Tap("Clear");
  EnterPin("678");
  EXPECT_EQ(Respond().first, Code(Status::kInputIncomplete));
  EnterPin("9");
  EXPECT_EQ(wys_.SubmitInput(session_, 0, 0, nullptr), 0);
  EXPECT_EQ(wys_.MouseDown(session_, 0, &one), Code(Status::kInputClosed));
  EXPECT_EQ(wys_.MouseUp(session_, 0, &one), Code(Status::kInputClosed));
  EXPECT_EQ(Open(Respond().second), "77:6789");
  EXPECT_EQ(Click(one, one), 0);
}

TEST_F(ReferenceDisplay, PadIsShuffledForEachImageAndInput) {
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
  for (Text digits : orders) {
    std::sort(digits.begin(), digits.end());
    EXPECT_EQ(digits, "0123456789");
  }
  ASSERT_EQ(Create(ImageRequest{.options = 1}), 0);
  const Text before = order();
  EnterPin("1234");
  EXPECT_NE(order(), before);
  EXPECT_EQ(Open(Respond().second), "77:1234");
}

TEST_F(ReferenceDisplay, ConfirmationAndTextAreInputsToo) {
  ASSERT_EQ(Create(ImageRequest{.type = 2, .id = 5, .size = {}, .least = 0, .greatest = 0}), 0);
  EXPECT_EQ(Respond().first, Code(Status::kInputIncomplete));
  Tap("OK");
  EXPECT_EQ(Open(Respond().second), "5:OK");

  ASSERT_EQ(Create(ImageRequest{.type = 3, .id = 6, .size = {}, .least = 2, .greatest = 4}), 0);
  EXPECT_EQ(Keys().size(), 0U);
  constexpr WCHAR kText[] = {'a', 0x20AC, 0xD83D, 0xDE00, 'b', 0};
  constexpr WCHAR kHalf[] = {'a', 0xD83D, 0};
  const struct {
    const WCHAR* text;
    uint32_t length;
    Status status;
  } kCases[] = {
      {nullptr, 0, Status::kWrongInputType}, {nullptr, 3, Status::kInvalidArgument},
      {kText, 0, Status::kInvalidArgument},  {kText, 1, Status::kBadText},
      {kText, 3, Status::kBadText},          {kHalf, 5, Status::kBadText},
      {kText, 5000, Status::kBadText},       {kText, 9, Status::kOk},
      {kText, 9, Status::kInputClosed},
  };
  for (const auto& row : kCases) EXPECT_EQ(wys_.SubmitInput(session_, 6, row.length, row.text), Code(row.status));
  EXPECT_EQ(Open(Respond().second), "6:a\u20AC\U0001F600b");
  ASSERT_EQ(Create(ImageRequest{}), 0);
  EXPECT_EQ(wys_.SubmitInput(session_, 0, 9, kText), Code(Status::kWrongInputType));
}

TEST_F(ReferenceDisplay, DescriptionsAreChecked) {
  const ImageRequest pin;
  const struct {
    Text block;
    Status status;
  } kCases[] = {
      {"", Status::kBadDescriptor},
      {pin.Block().substr(0, 49), Status::kBadDescriptor},
      {pin.Block().replace(0, 1, "\1"), Status::kBadDescriptor},
      {pin.Block().replace(41, 1, "\1"), Status::kBadDescriptor},
      {ImageRequest{.type = 0}.Block(), Status::kUnknownInputType},
      {ImageRequest{.type = 4}.Block(), Status::kUnknownInputType},
      {ImageRequest{.size = {199, 420}}.Block(), Status::kBadImageSize},
      {ImageRequest{.size = {320, 259}}.Block(), Status::kBadImageSize},
      {ImageRequest{.size = {320, 65535}}.Block(), Status::kBadImageSize},
      {ImageRequest{.least = 7}.Block(), Status::kBadLimits},
      {ImageRequest{.greatest = 17}.Block(), Status::kBadLimits},
      {ImageRequest{.greatest = 0xFFFFFFFF}.Block(), Status::kBadLimits},
      {ImageRequest{.type = 2}.Block(), Status::kBadLimits},
      {ImageRequest{.theme = 2}.Block(), Status::kUnknownOption},
      {ImageRequest{.options = 2}.Block(), Status::kUnknownOption},
      {ImageRequest{.logo = {2, 2}, .logoBytes = 11}.Block(), Status::kBadLogo},
      {ImageRequest{.logo = {2, 2}, .logoBytes = 13}.Block(), Status::kBadLogo},
      {ImageRequest{.logo = {0, 0}, .logoBytes = 1}.Block(), Status::kBadLogo},
      // 3 * 65535 * 65535 is 3 more than a multiple of 2^32 when it is taken without care.
      {ImageRequest{.logo = {65535, 65535}, .logoBytes = 0xFFFA0003 % 4096}.Block(), Status::kBadLogo},
      {ImageRequest{.logo = {1025, 1}, .logoBytes = 3075}.Block(), Status::kBadLogo},
      {ImageRequest{.logo = {65535, 65535}}.Block(), Status::kOk},
      {ImageRequest{.size = {2048, 2048}, .logoAt = {2047, 2040}, .logo = {1024, 3}, .logoBytes = 9216}.Block(),
       Status::kOk},
      {ImageRequest{.size = {200, 260}, .logoAt = {60000, 1}, .logo = {9, 9}, .logoBytes = 243}.Block(), Status::kOk},
      {ImageRequest{.size = {200, 260}, .theme = 1, .greatest = 16, .logo = {1, 1024}, .logoBytes = 3072}.Block(),
       Status::kOk},
      {ImageRequest{.type = 3, .size = {2048, 140}, .logo = {5, 5}, .logoBytes = 75}.Block(), Status::kOk},
      {ImageRequest{.id = 0, .size = {}, .least = 0, .greatest = 0}.Block(), Status::kOk}};
  for (const auto& row : kCases) {
    SCOPED_TRACE(&row - kCases);
    EXPECT_EQ(Create(row.block), Code(row.status));
    if (row.status == Status::kOk) {
      EXPECT_EQ(wys_.RepaintImage(session_, 0), 0);
    }
  }
  // What the page left open comes back in the block.
  EXPECT_NE(block_.substr(6, 4), Text(4, '\0'));
  EXPECT_EQ(block_.substr(10, 4), Text("\x40\x01\xA4\x01"));
}

TEST_F(ReferenceDisplay, FramesAreCheckedAndClicksOnThemAreTheInput) {
  const Text good = FrameBytes(20, 10);
  const struct {
    Text bytes;
    Status status;
  } kCases[] = {{"", Status::kBadFrame},
                {good.substr(0, 13), Status::kBadFrame},
                {good.substr(0, good.size() - 1), Status::kBadFrame},
                {good + '\0', Status::kBadFrame},
                {Text(good).replace(0, 1, "k"), Status::kBadFrame},
                {Text(good).replace(4, 1, "\2"), Status::kBadFrame},
                {Text(good).replace(5, 1, "\2"), Status::kBadFrame},
                {FrameBytes(0, 10), Status::kBadFrame},
                {FrameBytes(2049, 1), Status::kBadFrame},
                {Text("KSVF\1\0", 6) + BigEndian(0xFFFFFFFF, 4) + BigEndian(0xFFFA0003, 4), Status::kBadFrame},
                {FrameBytes(20, 10, 1), Status::kBadFrame},
                {FrameBytes(20, 10, 1) + Text(32, 'x'), Status::kFrameNotAuthentic},
                {good, Status::kOk}};
  for (const auto& row : kCases) EXPECT_EQ(Frame(row.bytes), Code(row.status)) << &row - kCases;
  EXPECT_EQ(wys_.RepaintImage(session_, 9), 0);
  EXPECT_EQ(Respond().first, Code(Status::kInputIncomplete));
  EXPECT_EQ(Click({10, 5}, {29, 14}), 0);
  EXPECT_EQ(Click({9, 5}, {12, 7}), 0);
  EXPECT_EQ(Click({12, 7}, {30, 14}), 0);
  EXPECT_EQ(Click({12, 7}, {12, 7}), 0);
  EXPECT_EQ(Open(Respond().second), "9:" + Text("\0\x13\0\x9\0\x2\0\x2", 8));
  for (int i = 0; i < 70; ++i) Click({12, 7}, {12, 7});
  EXPECT_EQ(Open(Respond().second).size(), 2U + 64 * 4) << "as many as count";
}

TEST_F(ReferenceDisplay, ChannelBindsFramesAndInputsToItsKey) {
  const struct {
    Text message;
    bool good;
  } kCases[] = {{Text("\0\3\xaa\xbb\xcc\xdd\xee\0\1\xff", 10), true},
                {Text(4, '\0'), true},
                {Text(3, '\0'), false},
                {"", false},
                {Text("\0\3\xaa\xbb\xcc", 5), false},
                {Text("\0\0\0\2\1", 5), false},
                {Text("\xff\xff\0\0", 4), false}};
  for (const auto& row : kCases) {
    const auto [status, answer] = Exchange(250, row.message);
    EXPECT_EQ(status, row.good ? 0 : Code(Status::kBadSetupMessage)) << &row - kCases;
    EXPECT_EQ(answer.size(), row.good ? 32U : 2U);  // where it failed, the text of the unchanged length
  }
  EXPECT_NE(Exchange(250, kCases[0].message).second, Exchange(250, kCases[1].message).second);

  const Text stream = Exchange(250, kCases[0].message).second;
  for (const uint32_t length : {0U, 33U}) {
    EXPECT_EQ(wys_.SetStreamKey(session_, length, Data(Text(33, 'k'))), Code(Status::kInvalidArgument));
  }
  ASSERT_EQ(wys_.SetStreamKey(session_, 32, Data(stream)), 0);
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

TEST(ReferenceDisplayText, ReachesATerminalWithoutCommands) {
  const std::pair<Text, Text> kCases[] = {{"1234 \u20AC\U0001F600", "1234 \u20AC\U0001F600"},
                                          {"a\x1B[2J\n\x7F", "a\\u{1b}[2J\\u{a}\\u{7f}"},
                                          {"\u009B2J \u202Eb", "\\u{9b}2J \\u{202e}b"},
                                          {"\\u{1b}", "\\\\u{1b}"},
                                          {"\x9B", "\uFFFD"}};
  for (const auto& [text, shown] : kCases) EXPECT_EQ(KsvDisplay::Printable(text), shown);
}

TEST_F(ReferenceDisplay, MessagesHonourTheBuffer) {
  EXPECT_EQ(Exchange(0, "echo"), std::pair(0, Text("echo")));
  EXPECT_EQ(Exchange(0, "echo", 3), std::pair(11, Text("4")));
  EXPECT_EQ(Exchange(0, "echo", 3, 0), std::pair(0, Text()));
  EXPECT_EQ(Exchange(250, Text(4, '\0'), 31), std::pair(11, Text("32")));
  EXPECT_EQ(Exchange(1, "", 500).second.front(), '{');
  EXPECT_EQ(Exchange(2, "").first, Code(Status::kUnknownMessageType));
  EXPECT_EQ(Exchange(0, "", 32, 2).first, Code(Status::kInvalidArgument));
  EXPECT_EQ(Exchange(0, Text(1024 * 1024 + 1, 'x')).first, Code(Status::kInvalidArgument));
}

TEST_F(ReferenceDisplay, NothingIsTakenOnTrust) {
  const int32_t invalid = Code(Status::kInvalidArgument);
  const WysPoint point{};
  uint8_t byte = 0;
  uint32_t word = 0;
  WCHAR unit = 'x';
  const WysSessionRequest noWindow{0, 0xFFFF, context_};
  const WysSessionRequest otherFeatures{1, 0xFFFE, context_};
  for (const Text& caption : {Text(65, 'x'), Text("line\nfeed"), Text("\xC3"), Text("\xC0\x80"), Text("\xED\xA0\x80"),
                              Text("a\u202Eb"), Text("a\u200Bb"), Text("a\u00ADb"), Text("a\U000E0041b")}) {
    EXPECT_EQ(wys_.Init(0, caption.c_str(), &word), invalid) << caption;
  }
  const int32_t refusals[] = {wys_.Init(0, "Norvo Bank", nullptr),
                              wys_.EstablishSession(nullptr, &word),
                              wys_.EstablishSession(&noWindow, &word),
                              wys_.EstablishSession(&otherFeatures, &word),
                              wys_.CreateStdImage(session_, nullptr, &byte, 1, 0, 0),
                              wys_.CreateStdImage(session_, &point, nullptr, 50, 0, 0),
                              wys_.CreateStdImage(session_, &point, &byte, 1, 0, 1),
                              wys_.MouseDown(session_, 0, nullptr),
                              wys_.MouseUp(session_, 0, nullptr),
                              wys_.SubmitInputAndGetResponse(session_, 0, nullptr, &byte),
                              wys_.SetStreamKey(session_, 5, nullptr),
                              wys_.SubmitFrame(session_, 0, &point, 5, nullptr),
                              wys_.SubmitFrame(session_, 0, nullptr, 0, nullptr),
                              wys_.SendRecv(context_, 0, 0, 1, nullptr, &word, &byte, 1),
                              wys_.SendRecv(context_, 0, 0, 0, nullptr, nullptr, &byte, 1),
                              wys_.GetVersion(nullptr),
                              wys_.StatusToString(nullptr, 9, 0),
                              wys_.RegisterEvents(
                                  session_, nullptr, [](DisplayEventRecord*) { return 0U; }, nullptr)};
  EXPECT_THAT(refusals, testing::Each(invalid));

  for (const uint32_t id : {uint32_t{0}, session_ + 1}) {
    const int32_t unknown[] = {wys_.CloseSession(id), wys_.RepaintImage(id, 0), wys_.SetStreamKey(id, 1, &byte),
                               wys_.SendRecv(context_, id, 250, 0, nullptr, &word, &byte, 1),
                               wys_.RegisterEvents(id, nullptr, nullptr, nullptr)};
    EXPECT_THAT(unknown, testing::Each(Code(Status::kUnknownSession)));
  }
  EXPECT_EQ(wys_.DeInit(context_ + 1), Code(Status::kUnknownContext));
  EXPECT_EQ(wys_.SendRecv(0, 0, 0, 0, nullptr, &word, &byte, 1), Code(Status::kUnknownContext));
  EXPECT_EQ(wys_.RepaintImage(session_, 0), Code(Status::kUnknownImage));
  ASSERT_EQ(Create(ImageRequest{}), 0);
  EXPECT_EQ(wys_.ReleaseImage(session_, 78), Code(Status::kUnknownImage));
  EXPECT_EQ(wys_.ReleaseImage(session_, 77), 0);
  EXPECT_EQ(wys_.ReleaseImage(session_, 77), Code(Status::kUnknownImage));
  EXPECT_EQ(wys_.StatusToString(&unit, 1, 0), 11);
  EXPECT_EQ(unit, 0);
}

TEST_F(ReferenceDisplay, WindowHasOneSession) {
  const uint32_t first = session_;
  session_ = 0;
  ASSERT_EQ(Create(ImageRequest{}), Code(Status::kUnknownSession));
  EXPECT_EQ(Establish(), 42);
  EXPECT_EQ(session_, first);
  ASSERT_EQ(Create(ImageRequest{}), 0);

  // Another page in the same window gets the session, but not what the first one left in it.
  const uint32_t earlier = context_;
  ASSERT_EQ(wys_.SetStreamKey(session_, 3, Data("key")), 0);
  ASSERT_EQ(wys_.Init(7, nullptr, &context_), 0);
  EXPECT_EQ(Establish(), 42);
  EXPECT_EQ(session_, first);
  EXPECT_EQ(wys_.RepaintImage(session_, 0), Code(Status::kUnknownImage));
  ASSERT_EQ(Create(ImageRequest{}), 0);
  EnterPin("1234");
  EXPECT_EQ(Open(Respond().second), "77:1234") << "without the first one's stream key";
  EXPECT_EQ(wys_.DeInit(earlier), 0);
  EXPECT_EQ(wys_.CloseSession(session_), 0);
  EXPECT_EQ(Establish(), 0);
  EXPECT_EQ(wys_.DeInit(context_), 0);
  EXPECT_EQ(wys_.CloseSession(session_), Code(Status::kUnknownSession));
}

TEST_F(ReferenceDisplay, EveryStatusHasItsText) {
  std::set<std::basic_string<WCHAR>> texts;
  size_t known = 0;
  for (uint32_t code = 0; code < 400; ++code) {
    WCHAR text[128] = {'x'};
    const int32_t status = wys_.StatusToString(text, 128, code);
    EXPECT_EQ(status, *text == 0 ? Code(Status::kUnknownStatus) : 0) << code;
    known += status == 0;
    if (status == 0) texts.insert(text);
  }
  EXPECT_EQ(texts.size(), known) << "two have the same";
}

}  // namespace
