// How the native host reads messages.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "bridge/host/protocol.h"

using nlohmann::json;
using std::string;

namespace {

json ArgumentsOf(const string& list) {
  Bridge::MessageReader reader;
  const auto message = reader.Read(R"({"n":1,"on":1,"do":"call","name":"echo","arguments":)" + list + "}");
  return std::get<Bridge::Request>(*message).content;
}

}  // namespace

TEST(BridgeMessagesTest, LongTextsAreReadAsShortOnesAre) {
  const string one(5000, 'a');
  const string two = string(1023, 'b') + "~";
  for (const string& good : {
           R"([")" + one + R"(","",0,")" + two + R"("])",
           R"(["\"",")" + one + R"(","\\",{"object":[["key",")" + two + R"("]]}])",
           R"([{")" + one + R"(":")" + two + R"("},")" + one + R"(" ,"c"])",
           R"([")" + one + R"(\n","\\\")" + one + R"(",")" + one + "\xE2\x82\xAC\",\"" + two + R"("])",
       }) {
    EXPECT_EQ(ArgumentsOf(good), json::parse(good)) << good;
  }
  for (const string& bad :
       {R"([")" + one + "\n\"]", R"([")" + one + R"(""])", R"([")" + one, R"([")" + one + "\xC3\"]"}) {
    EXPECT_THROW(ArgumentsOf(bad), Bridge::ProtocolError) << bad;
  }
}
