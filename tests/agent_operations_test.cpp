// What each operation asks of the library, in both generations, and what the page is told of the answer.
#include "tests/support/agent_fixture.h"

using namespace support;

namespace {

// One output of a method: where its capacity stands among the arguments, and the keys of its answer.
struct Output {
  const char* entry;
  const char* method;
  std::vector<Value> arguments;
  size_t capacityAt;
  const char* requiredKey;
  const char* dataKey;
};

const Output kOutputs[] = {
    {"ZUB_EndProvisioning", "zubEndProvisioning", {"app", 7, 64, ""}, 2, "requiredEncTokenLen", "b64EncToken"},
    {"ZUB_ReceiveData", "zubReceiveData", {"app", 7, 2, 64}, 3, "requiredDataLen", "b64Data"},
    {"ZUB_GetSVPMessage", "zubGetSVPMessage", {"app", 7, 64}, 2, "requiredDataLen", "b64Data"},
    {"ZUB_SendAndReceiveData", "zubSendAndReceiveData", {"app", 7, 2, "aGk=", 64}, 4, "requiredDataLen", "b64Data"},
    {"ZUB_GetCapabilities", "zubGetCapabilities", {"app", 3, 64}, 2, "requiredDataLen", "b64Data"},
};

constexpr char kCapabilities[] = "ZUB_GetCapabilities('app', 3, >64)";
// In the instance generation these messages are data of a type of their own.
constexpr char kSVPSent[] = "ZUB3_SendData(#101, 7, 600, <'hi')";
constexpr char kSVPReceived[] = "ZUB3_ReceiveData(#101, 7, 600, >64)";

}  // namespace

class AgentOperationsTest : public AgentTest {};

TEST_F(AgentOperationsTest, EachAsksTheLibraryInItsGeneration) {
  const struct {
    const char* method;
    std::vector<Value> arguments;
    std::string first;
    std::string instance = {};  // By rule the same, with the instance in the name's place.
  } cases[] = {
      {"zubStartProvisioning", {"app"}, "ZUB_StartProvisioning('app')"},
      {"zubEndProvisioning", {"app", 7, 64, ""}, "ZUB_EndProvisioning('app', 7, >64)"},
      {"zubEndProvisioningDomainBinding", {"app", 7, 64, "", true, 5}, "ZUB_EndProvisioning('app', 7, >64)"},
      {"zubSendData", {"app", 7, 2, "aGk="}, "ZUB_SendData('app', 7, 2, <'hi')"},
      {"zubSendData", {"app", 3.9, "2", ""}, "ZUB_SendData('app', 3, 1, <'')"},
      {"zubSendAndReceiveData", {"app", 7, 2, "", 64}, "ZUB_SendAndReceiveData('app', 7, 2, <null, >64)"},
      {"zubSendData", {"app", 7, 2, std::string("?a\0G\nk=", 7)}, "ZUB_SendData('app', 7, 2, <'hi')"},
      {"zubReceiveData", {"app", 7, 2, 64}, "ZUB_ReceiveData('app', 7, 2, >64)"},
      {"zubProcessSVPMessage", {"app", 7, "aGk="}, "ZUB_ProcessSVPMessage('app', 7, <'hi')", kSVPSent},
      {"zubGetSVPMessage", {"app", 7, 64}, "ZUB_GetSVPMessage('app', 7, >64)", kSVPReceived},
      {"zubSendAndReceiveData", {"app", 7, 2, "aGk=", 64}, "ZUB_SendAndReceiveData('app', 7, 2, <'hi', >64)"},
      {"zubGetCapabilities", {"app", 3, 64}, kCapabilities, kCapabilities},
      {"zubDoFWUpdate", {}, "ZUB_DoFWUpdate()", "ZUB_DoFWUpdate()"},
      {"zubGetOTP", {"app", 3, "aGk=", "eW8=", 8, 16, ""}, "ZUB_GetOTP('app', 3, <'hi', <'yo', >8, >16)"},
      {"zubGetOTP", {"app", 3, "", "", 0, 65'536, ""}, "ZUB_GetOTP('app', 3, <null, <null, >0/null, >0/null)"},
      {"zubSendData", {"", 7, 2, "aGk="}, "ZUB_SendData(null, 7, 2, <'hi')"},
  };
  agent.SetVersion(2);
  for (const auto& [method, arguments, first, instance] : cases) {
    EXPECT_TRUE(page.Call(method, arguments).Show().starts_with("pluginRetCode=0 fnRetCode=0")) << method;
    EXPECT_EQ(agent.TakeCalls(), Calls{first});
  }
  agent.SetVersion(0x01020303);
  Page instances(host);
  EXPECT_EQ(instances.Call("zubStartProvisioning", {"app"}).Show(), "pluginRetCode=0 fnRetCode=0 sessionHandle=0");
  EXPECT_EQ(agent.TakeCalls(true),
            (Calls{"ZUB_GetVersion()", "ZUB3_StartInstance('app')", "ZUB3_StartProvisioning(#101)"}));
  for (const auto& [method, arguments, first, instance] : cases) {
    std::string expected = instance;
    if (const size_t name = first.find("'app'"); instance.empty()) {
      if (name == std::string::npos) continue;
      expected = "ZUB3" + first.substr(3, name - 3) + "#101" + first.substr(name + 5);
    }
    instances.Call(method, arguments);
    EXPECT_EQ(agent.TakeCalls(true), Calls{expected});
  }
  EXPECT_EQ(instances.Call("zubSendData", {"", 7, 2, "aGk="}).Show(), "pluginRetCode=12 fnRetCode=10");
  EXPECT_EQ(instances.Call("zubSendData", {"b", 7, 2, "aGk="}).Show(), "pluginRetCode=0 fnRetCode=0");
  EXPECT_EQ(agent.TakeCalls(), (Calls{"ZUB3_StartInstance('b')", "ZUB3_SendData(#102, 7, 2, <'hi')"}));
}

TEST_F(AgentOperationsTest, VersionAndSessionsAreSignedAndAFailedVersionIsAskedAgain) {
  agent.SetVersion(0x80000002);
  agent.On("ZUB_StartProvisioning", [](AgentCall& call) { *call.value = 0xFFFFFFFF; });
  EXPECT_EQ(page.Call("zubGetVersion").Show(), "pluginRetCode=0 fnRetCode=0 version=-2147483646");
  EXPECT_EQ(page.Call("zubStartProvisioning", {"app"}).Show(), "pluginRetCode=0 fnRetCode=0 sessionHandle=-1");
  agent.SetVersion(0x104);
  agent.On("ZUB_GetVersion", Refuses(9));
  agent.On("ZUB_StartProvisioning", Refuses(9));
  const Page other(host);
  agent.TakeCalls();
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(other.Call("zubStartProvisioning", {"app"}).Show(), "pluginRetCode=0 fnRetCode=9");
    EXPECT_EQ(agent.TakeCalls(true), (Calls{"ZUB_GetVersion()", "ZUB_StartProvisioning('app')"}));
  }
  agent.SetVersion(0x104);
  agent.On("ZUB3_StartInstance", Refuses(44));
  EXPECT_EQ(other.Call("zubSendData", {"app", 7, 2, "aGk="}).Show(), "pluginRetCode=0 fnRetCode=44");
  EXPECT_EQ(agent.TakeCalls(), Calls{"ZUB3_StartInstance('app')"});
}

TEST_F(AgentOperationsTest, MissingNamesGiveEleven) {
  const std::tuple<const char*, const char*, std::vector<Value>, const char*> cases[] = {
      {"instances", "zubSendData", {"app", 7, 2, "aGk="}, "pluginRetCode=11 fnRetCode=10"},
      {"idle", "zubEndProvisioning", {"app", 7, 64, "file"}, "pluginRetCode=11 fnRetCode=10"},
      {"idle", "zubGetOTP", {"app", 3, "", "", 8, 16, ""}, "pluginRetCode=11 fnRetCode=10"},
      {"first", "zubSendData", {"app", 7, 2, "aGk="}, "pluginRetCode=11 fnRetCode=10"},
      {"otps", "zubInit", {}, "pluginRetCode=11 fnRetCode=10"},
      {"otps", "zubGetCapabilities", {"app", 3, 64}, "pluginRetCode=0 fnRetCode=0 b64Data='aGk='"},
  };
  for (const auto& [variant, method, arguments, expected] : cases) {
    AgentStub poor(environment, variant);
    poor.SetVersion(3);
    poor.On("ZUB_GetOTPCapabilities", Gives("hi"));
    Page other(host);
    EXPECT_EQ(other.Call(method, arguments).Show(), expected) << variant << " " << method;
  }
}

TEST_F(AgentOperationsTest, StatusDecidesWhatThePageIsGiven) {
  for (const Output& output : kOutputs) {
    const std::string required = std::string(" ") + output.requiredKey;
    const std::string data = std::string("pluginRetCode=0 fnRetCode=0 ") + output.dataKey;
    const std::pair<AgentStub::Answer, std::string> cases[] = {
        {Gives(std::string("\0\x01\xFF", 3)), data + "='AAH/'"},
        {Gives(std::string(64, '\0')), data + "='" + std::string(86, 'A') + "=='"},
        {Gives("", 0), "pluginRetCode=0 fnRetCode=0"},
        {Gives("", 40'000, 11), "pluginRetCode=0 fnRetCode=11" + required + "=40000"},
        {Gives("hi", 2, 12), "pluginRetCode=0 fnRetCode=12"},
        {Gives("hi", 65), "pluginRetCode=13 fnRetCode=0"},  // It claims more than it was given room for.
    };
    for (const auto& [answer, expected] : cases) {
      agent.On(output.entry, answer);
      EXPECT_EQ(page.Call(output.method, output.arguments).Show(), expected) << output.method;
    }
  }
}

TEST_F(AgentOperationsTest, LibrarySeesSixteenBitsOfACapacity) {
  const std::pair<Value, const char*> rows[] = {{0, ">0)"},       {65'535, ">65535)"},
                                                {65'536, ">0)"},  {65'537, ">1)"},
                                                {-1, nullptr},    {std::numeric_limits<int32_t>::min(), nullptr},
                                                {-1e300, nullptr}};
  for (const Output& output : kOutputs) {
    for (const auto& [capacity, asked] : rows) {
      std::vector<Value> arguments = output.arguments;
      arguments[output.capacityAt] = capacity;
      const std::string shown = page.Call(output.method, arguments).Show();
      const std::string codes = asked ? "pluginRetCode=0 fnRetCode=0" : "pluginRetCode=14 fnRetCode=10";
      EXPECT_TRUE(shown.starts_with(codes)) << shown;
      const Calls calls = agent.TakeCalls();
      EXPECT_TRUE(asked ? calls.at(0).ends_with(asked) : calls.empty()) << output.method << " of " << shown;
    }
  }
}

TEST_F(AgentOperationsTest, OTPComesAsBytesAndAsText) {
  const std::vector<Value> arguments{"app", 3, "", "", 8, 4, ""};
  const auto gives = [](const std::string& otp, uint16_t otpLength, uint16_t tokenLength, int32_t status) {
    return [=](AgentCall& call) {
      Gives(otp, otpLength, status)(call);
      if (call.output[1] && *call.outputLength[1] >= 2) std::copy_n("to", 2, call.output[1]);
      *call.outputLength[1] = tokenLength;
    };
  };
  const std::pair<AgentStub::Answer, const char*> cases[] = {
      {gives("1234", 4, 2, 0), "pluginRetCode=0 fnRetCode=0 b64OTP='MTIzNA==' OTP='1234' b64EncToken='dG8='"},
      {gives(std::string("1\0002", 3), 3, 0, 0), "pluginRetCode=0 fnRetCode=0 b64OTP='MQAy' OTP='1'"},
      {gives("", 0, 2, 0), "pluginRetCode=0 fnRetCode=0 b64EncToken='dG8='"},
      {gives("", 300, 40'000, 11), "pluginRetCode=0 fnRetCode=11 requiredOTPDataLen=300 requiredEncTokenDataLen=40000"},
      {gives("1234", 4, 2, 6), "pluginRetCode=0 fnRetCode=6"},
      {gives("12345678", 9, 0, 0), "pluginRetCode=13 fnRetCode=0"},
  };
  for (const auto& [answer, expected] : cases) {
    agent.On("ZUB_GetOTP", answer);
    EXPECT_EQ(page.Call("zubGetOTP", arguments).Show(), expected);
  }
  // Without room nothing can be stored, whatever the library claims.
  agent.On("ZUB_GetOTP", gives("", 4, 4, 0));
  EXPECT_EQ(page.Call("zubGetOTP", {"app", 3, "", "", 0, 0, ""}).Show(), "pluginRetCode=0 fnRetCode=0");
}

TEST_F(AgentOperationsTest, BuffersShowNoOldMemoryAndAreClosedByAZero) {
  // It claims its whole capacity and writes nothing: what lay there before must not come out.
  agent.On("ZUB_ReceiveData", [](AgentCall&) {});
  EXPECT_EQ(page.Call("zubReceiveData", {"app", 7, 2, 6}).Text("b64Data"), "AAAAAAAA\n");
  // It closes a password that fills its room by a zero, as terminated texts are.
  agent.On("ZUB_GetOTP", [](AgentCall& call) { std::copy_n("755224", 7, call.output[0]); });  // asan sees the room.
  EXPECT_EQ(page.Call("zubGetOTP", {"app", 0, "", "", 6, 0, ""}).Text("OTP"), "755224");
}
