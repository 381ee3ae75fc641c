// Base64, code page conversion, log lines, origins and guarded copies.
#include "base/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>

#include "base/base64.h"
#include "base/debug_log.h"
#include "base/guarded_memory.h"
#include "platform/desktop.h"
#include "platform/faults.h"
#include "tests/support/outcomes.h"
#include "tokens/origin.h"

using namespace NorvoWebAPI;
using std::string;
using support::Data;
using support::ErrorOf;

namespace {

using WideText = std::basic_string<WCHAR>;

string Encode(const string& bytes) {
  return EncodeBase64(Data(bytes), bytes.size());
}

string Decode(const string& text) {
  // Exactly as long as the text, so that a read behind it is noticed.
  const auto exact = std::make_unique<char[]>(text.size());
  std::ranges::copy(text, exact.get());
  const ByteBuffer decoded = DecodeBase64(exact.get(), static_cast<int32_t>(text.size()));
  return {reinterpret_cast<const char*>(decoded.bytes.get()), decoded.size};
}

}  // namespace

TEST(TextTest, LogLinesHaveAHeadAndAtMost2047Characters) {
  const platform::DebugOutputCapture output;
  DebugLog(false, "pZUB", "off\n");
  DebugLog(true, "pZUB", "%s:%d, %d\n", "Init", 0, -1);
  DebugLog(true, "pZUB", "%s", string(3000, 'x').c_str());
  const string head = "[" + std::to_string(static_cast<int>(GetCurrentThreadId())) + "] [pZUB] ";
  EXPECT_THAT(output.lines(), testing::ElementsAre(head + "Init:0, -1\n", head + string(2047 - head.size(), 'x')));
}

TEST(Base64Test, EncodingPadsAndBreaksLinesAfter72Characters) {
  EXPECT_EQ(Encode("") + Encode("f") + Encode("fo") + Encode("foo"), "\nZg==\nZm8=\nZm9v\n");
  string line, bytes;
  for (int i = 0; i < 18; ++i) line += "+/+/", bytes += "\xFB\xFF\xBF";
  EXPECT_EQ(Encode(bytes), line + "\n\n");
  EXPECT_EQ(Encode(bytes + bytes + "f"), line + "\n" + line + "\nZg==\n");
  for (bytes = ""; bytes.size() < 200; bytes += static_cast<char>(bytes.size() * 89)) {
    EXPECT_EQ(Decode(Encode(bytes)), bytes);
  }
}

TEST(Base64Test, DecodingSkipsOtherCharacters) {
  for (const char* text : {"", "=", "Z", "=Z=", "-_"}) EXPECT_EQ(Decode(text), "") << text;
  for (const char* text : {"Zg", "Zh", "Zg==\n", "Z\r\ng\r\n=\r\n=\r\n"}) EXPECT_EQ(Decode(text), "f") << text;
  EXPECT_EQ(Decode("Zg==Zg=="), "f\x06`");
  const string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (int byte = 0; byte < 256; ++byte) {
    const auto c = static_cast<char>(byte);
    EXPECT_TRUE(alphabet.find(c) != string::npos || Decode({c, 'Z', c, 'm', c, c, '9', 'v', c}) == "foo") << byte;
  }
  EXPECT_EQ(DecodeBase64(nullptr, 8).size, 0u);
  EXPECT_THROW(DecodeBase64("Zm9v", -1), std::bad_alloc);
  EXPECT_THROW(EncodeBase64(nullptr, std::numeric_limits<int>::max() / 2), std::bad_alloc);
}

TEST(TextTest, ConversionKeepsTextAndNull) {
  EXPECT_FALSE(BstrFromNarrow(nullptr));
  EXPECT_EQ(NarrowFromBstr(nullptr), std::nullopt);
  const WCHAR accented[] = {'a', 0xE9, 0xDF, 0};  // One byte each or two, as the code page has it.
  for (const WideText& text : {WideText(), WideText(KSV_WIDE("com.norvo.time")), WideText(accented)}) {
    const Bstr wide(SysAllocString(text.c_str()));
    const Bstr back = BstrFromNarrow(NarrowFromBstr(wide.Get()).value().c_str());
    ASSERT_TRUE(back);
    EXPECT_EQ(back.Get(), text);
  }
  const Bstr cut = BstrOfExactLength(string("a\0b", 3));
  EXPECT_EQ(WideText(cut.Get(), 4), WideText(KSV_WIDE("a\0b"), 4));
  EXPECT_EQ(NarrowFromBstr(cut.Get()), "a");
  EXPECT_EQ(ErrorOf([] { BstrOfExactLength(""); }), "13");
}

TEST(TextTest, AFailedConversionThrowsTheSystemsError) {
  if (!platform::kHasLayerSettings) GTEST_SKIP() << "the system's calls don't fail when asked";
  const Bstr wide(SysAllocString(KSV_WIDE("a")));
  for (const int nth : {1, 2}) {
    const platform::FailCall widening("MultiByteToWideChar", ERROR_GEN_FAILURE, nth);
    EXPECT_EQ(ErrorOf([] { BstrFromNarrow("a"); }), "31") << nth;
    const platform::FailCall exact("MultiByteToWideChar", ERROR_GEN_FAILURE, nth);
    EXPECT_EQ(ErrorOf([] { BstrOfExactLength("a"); }), "13") << nth;
    const platform::FailCall narrowing("WideCharToMultiByte", ERROR_GEN_FAILURE, nth);
    EXPECT_EQ(ErrorOf([&] { NarrowFromBstr(wide.Get()); }), "31") << nth;
  }
}

TEST(TextTest, OriginIsSchemeHostAndPort) {
  const std::pair<const char*, const char*> rows[] = {
      {"https://norvo.example:8443/a/b?c=d:e", "https_norvo.example_8443"},
      {"a/b/c", "a/b/c"},
      {"", ""},
      {"http://norvo.example?q=1", "http_norvo.example?q=1"},
      {"https://a:b@c:1/", "https_a_b@c:1"},
      {"file:///home/a.html", "file_"},
      {"http://a://b/c", "http_a_"},
      {"about:blank:x", "about_blank:x"}};
  for (const auto& [address, origin] : rows) {
    string url = address;
    NormalizeOrigin(url);
    EXPECT_EQ(url, origin);
  }
}

TEST(GuardedMemoryTest, CopiesOrClearsTheDestination) {
  const auto copy = [](size_t size, const char* source, size_t count) {
    string room = "____";
    const string error = ErrorOf([&] { Platform::memcpy(room.data(), size, source, count); });
    std::ranges::replace(room, '\0', '0');
    return room + error;
  };
  EXPECT_EQ(copy(4, "1234", 4), "1234");
  EXPECT_EQ(copy(3, "1234", 2), "12__");
  EXPECT_EQ(copy(3, "1234", 4), "000_Platform::memcpy failed");
  EXPECT_EQ(copy(2, nullptr, 1), "00__Platform::memcpy failed");
  EXPECT_EQ(ErrorOf([] { Platform::memcpy(nullptr, 0, nullptr, 0); }), "");
  EXPECT_EQ(ErrorOf([] { Platform::memcpy(nullptr, 4, "1", 1); }), "Platform::memcpy failed");
}
