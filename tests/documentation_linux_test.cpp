// What is written about the plug-in is held against the plug-in: the methods of the page API and of the types for
// editors, the codes, and the tests that the threat model points at.
#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "api/method_table.h"
#include "bridge/host/result_keys.h"

namespace {

using NorvoWebAPI::KSV::ArgumentKind;
using NorvoWebAPI::KSV::Arity;
using NorvoWebAPI::KSV::kMethods;
using std::regex;
using std::string;
using testing::ContainerEq;

string ReadSource(const string& path) {
  std::ifstream file(KSV_SOURCES "/" + path);
  EXPECT_TRUE(file.is_open()) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::smatch> AllMatches(const string& text, const regex& pattern) {
  return {std::sregex_iterator(text.begin(), text.end(), pattern), {}};
}

// Each method with its arguments as they are written; one that is told of twice shows.
std::map<string, string> Signatures(const string& text, const regex& pattern) {
  std::map<string, string> signatures;
  for (const std::smatch& match : AllMatches(text, pattern)) {
    string& arguments = signatures[match[1]];
    arguments += arguments.empty() ? match[2].str() : " (twice) " + match[2].str();
  }
  return signatures;
}

// How editors are told of an argument. What any value will do for is the author's choice.
string TypeOf(const NorvoWebAPI::KSV::Argument& argument) {
  static const std::map<ArgumentKind, string> types{{ArgumentKind::Text, "string"},
                                                    {ArgumentKind::Number, "number"},
                                                    {ArgumentKind::Unsigned, "number"},
                                                    {ArgumentKind::Flag, "boolean"},
                                                    {ArgumentKind::Function, "function"}};
  const auto found = types.find(argument.kind);
  return found == types.end() ? "value" : found->second;
}

TEST(DocumentationTest, MethodsAreThoseOfTheTable) {
  std::map<string, string> told;
  std::map<string, string> typed;
  for (const auto& row : kMethods) {
    string names;
    string types;
    for (size_t i = 0; i < row.ArgumentCount(); ++i) {
      const string separator = i > 0 ? ", " : "";
      names += separator + row.arguments[i].name;
      types += separator + row.arguments[i].name + ": " + TypeOf(row.arguments[i]);
    }
    if (row.arity != Arity::Exact) types += string(types.empty() ? "" : ", ") + "...ignored: any[]";
    told[row.name] = names;
    typed[row.name] = types;
  }
  EXPECT_THAT(Signatures(ReadSource("docs/page-api.md"), regex(R"(\n\| `(\w+)\(([^)]*)\)`)")), ContainerEq(told));

  string types = ReadSource("kit/pages/ksv.d.ts");
  types = types.substr(types.find("interface KsvMethods"));
  types = types.substr(0, types.find("\n}"));
  // A language with types takes no two arguments of one name, has functions of several types, and knows what a method
  // that takes any value is meant for.
  types = std::regex_replace(types, regex(R"(\b(unused)\d)"), "$1");
  types = std::regex_replace(types, regex(R"(: (Ksv\w+Callback|\(\) => void)([,)]))"), ": function$2");
  types = std::regex_replace(types, regex(R"(\b(secondDomain|input): string)"), "$1: value");
  types = std::regex_replace(types, regex(R"((getInstanceID\(name): string)"), "$1: value");
  types = std::regex_replace(types, regex(R"(\bunused: any\b)"), "unused: value");
  types = std::regex_replace(types, regex(R"(,\n\s+)"), ", ");
  EXPECT_THAT(Signatures(types, regex(R"(\n  (\w+)\(([^)]*)\): )")), ContainerEq(typed));
}

// The bridge asks results for these keys alone; one that it does not know never reaches a page.
TEST(DocumentationTest, KeysOfResultsAreThoseOfTheBridge) {
  const string api = ReadSource("docs/page-api.md");
  std::set<string> told{"pluginRetCode", "fnRetCode"};
  const auto addWords = [&told](const string& text) {
    for (const std::smatch& quoted : AllMatches(text, regex(R"(`\{?(\w+)(?:, (\w+))?[^`]*`)"))) {
      told.insert(quoted[1]);
      if (quoted[2].matched) told.insert(quoted[2]);
    }
  };
  for (const std::smatch& row : AllMatches(api, regex(R"(\n\| `\w+\([^)]*\)` \|([^|]*)\|)"))) addWords(row[1]);
  for (const std::smatch& event : AllMatches(api, regex(R"(\nThe function gets one object: ([^.]*)\.)")))
    addWords(event[1]);
  for (const auto& method : kMethods) told.erase(method.name);
  const std::set<string> asked(std::begin(Bridge::kResultKeys), std::end(Bridge::kResultKeys));
  EXPECT_THAT(asked, ContainerEq(told));
}

std::set<int> Numbers(const string& text, const regex& pattern) {
  std::set<int> found;
  for (const std::smatch& match : AllMatches(text, pattern)) found.insert(std::stoi(match[1]));
  return found;
}

// The numbers that a table of the helper for pages has sentences for.
std::set<int> Explained(const string& table) {
  string helper = ReadSource("kit/pages/ksv.js");
  helper = helper.substr(helper.find("var " + table + " = {"));
  return Numbers(helper.substr(0, helper.find("};")), regex(R"re(\n    (\d+): ")re"));
}

const regex& EnumValue() {
  static const regex pattern(R"(\n  k\w+ = (\d+),)");
  return pattern;
}

TEST(DocumentationTest, CodesAreThoseOfTheSource) {
  std::set<int> source = Numbers(ReadSource("src/base/result_codes.h"), EnumValue());
  EXPECT_EQ(Numbers(ReadSource("docs/codes.md"), regex(R"(\n\| (\d+) \|)")), source);
  source.erase(0);
  EXPECT_EQ(Explained("MEANINGS"), source);
}

// A library got a new status, or lost one: add or take away a line in STATUSES of kit/pages/ksv.js.
TEST(DocumentationTest, HelperExplainsTheStatusesOfBothLibraries) {
  std::set<int> statuses;
  for (const char* header :
       {"vendor/zub.h", "vendor/ksvwys.h", "kit/agent/agent_status.h", "kit/display/display_status.h"}) {
    statuses.merge(Numbers(ReadSource(header), EnumValue()));
  }
  statuses.erase(0);
  EXPECT_THAT(Explained("STATUSES"), ContainerEq(statuses));
}

TEST(DocumentationTest, PagesCallTheElementPluginAndAreReadAloud) {
  for (const char* name : {"otp", "hotp", "tokens", "events", "display", "remote", "diagnosis"}) {
    const string page = ReadSource(string("kit/pages/") + name + ".html");
    EXPECT_THAT(page, testing::HasSubstr("<object id=\"plugin\"")) << name;
    EXPECT_THAT(page, testing::HasSubstr("plugin = document.getElementById(\"plugin\")")) << name;
    EXPECT_THAT(page, testing::HasSubstr("aria-live=\"polite\"")) << name;
  }
}

TEST(DocumentationTest, ThreatModelPointsAtTestsThatExist) {
  const string model = ReadSource("SECURITY.md");
  const auto pointers = AllMatches(model, regex(R"(`([\w/]+\.\w+): ([^`]+)`)"));
  EXPECT_THAT(pointers, testing::SizeIs(testing::Gt(20U)));
  for (const std::smatch& pointer : pointers) {
    const bool isThere = ReadSource("tests/" + pointer[1].str()).find(pointer[2]) != string::npos;
    EXPECT_TRUE(isThere) << pointer[1] << " has no " << pointer[2];
  }
}

}  // namespace
