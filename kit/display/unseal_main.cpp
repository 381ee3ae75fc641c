#include <array>
#include <iostream>
#include <iterator>
#include <string>

#include "base/base64.h"
#include "kit/display/request.h"
#include "kit/display/sealed_input.h"
#include "kit/display/used_challenges.h"
#include "kit/display/visible_text.h"
#include "kit/program/command_line.h"
#include "kit/program/exit_status.h"
#include "kit/program/option_parser.h"
#include "kit/program/paths.h"
#include "kit/shared/key_store.h"

using namespace KsvDisplay;

namespace {

enum ExitStatus { kOpened = 0, kNotAuthentic = 1, kNoFile = 3, kOtherQuestion = 4 };

constexpr char kDescription[] =
    "Opens a sealed input of the reference display, once, if it answers the question that is demanded.";

constexpr char kFooter[] =
    R"(What is demanded has to stand in the input exactly as it is given here; without --caption or --reference the image must
have had none. The challenge is one that you made at random and gave to the page for this question. When the input has
been opened, its challenge is kept among the used ones and opens no other.

It prints a line for each fact: type, image, caption, reference, shown (a text of the image), and input: digits, OK, a
text, or x,y for a click. In texts a backslash is doubled, and a character that is not visible is \u{HEX}.

Exit status:
  0  opened                                        3  the key or the file of used challenges can't be used
  1  not authentic, or sealed by another key       4  authentic, but not the answer to what is demanded, or its
  2  the command line is wrong                        challenge was used)";

constexpr std::array<const char*, 5> kTypes{"", "pin", "confirmation", "text", "clicks"};

struct Options {
  std::string type = "pin";
  std::string caption;
  std::string reference;
  std::optional<uint32_t> image;
  std::string challenge;
  std::string key;
  std::string used;
  std::string stream;
  std::string exported;
  std::optional<std::string> sealed;
};

SecretBytes Decode(std::string_view text) {
  const NorvoWebAPI::ByteBuffer decoded = NorvoWebAPI::DecodeBase64(text.data(), static_cast<int32_t>(text.size()));
  return SecretBytes(decoded.bytes.get(), decoded.bytes.get() + decoded.size);
}

int Fail(int status, const std::string& why) {
  std::cerr << "ksv-unseal: " << why << '\n';
  return status;
}

std::optional<int> ReadOptions(const std::vector<std::string>& arguments, Options& options) {
  Kit::OptionParser parser("ksv-unseal", kDescription, kFooter);
  const auto isBase64 = [](const std::string& text) { return Decode(text).empty() ? "it takes Base64" : ""; };
  const auto isChallenge = [](const std::string& text) {
    return IsChallenge(text) ? "" : "it takes 22 to 88 characters of Base64";
  };
  parser.add_option("SEALED", options.sealed, "the sealed input in Base64;\nwithout it, standard input is read")
      ->type_name("");
  parser.add_option("--challenge", options.challenge, "the challenge that the page was given")
      ->type_name("TEXT")
      ->check(isChallenge, "");
  parser.add_option("--type", options.type, "pin (without this option), confirmation,\ntext or clicks")
      ->type_name("TYPE")
      ->check(CLI::IsMember(std::vector<std::string>(kTypes.begin() + 1, kTypes.end())), "");
  parser.add_option("--caption", options.caption, "the image's caption")->type_name("TEXT");
  parser.add_option("--reference", options.reference, "the image's reference: what the input is for")
      ->type_name("TEXT");
  parser.add_option("--image", options.image, "the image's number; without it, any")->type_name("NUMBER");
  parser.add_option("--key", options.key, "a copy of the user's key (see --export-key);\nwithout it, the user's own")
      ->type_name("FILE");
  parser
      .add_option("--used", options.used,
                  "the file of used challenges, made when\nmissing (default: beside the user's key)")
      ->type_name("FILE");
  parser.add_option("--stream", options.stream, "the stream key of the session, if one was set")
      ->type_name("BASE64")
      ->check(isBase64, "");
  parser
      .add_option("--export-key", options.exported, "open nothing: write a copy of the user's own\nkey, for the opener")
      ->type_name("FILE");
  if (const auto end = parser.Read(arguments)) return end;
  if (!options.exported.empty() || !options.challenge.empty()) return std::nullopt;
  return Fail(Kit::kExitUsage,
              "--challenge is missing: without one an input could be opened twice. See ksv-unseal --help.");
}

std::filesystem::path InHome(const char* name) {
  return System::HomeFolder("KSV_DISPLAY_HOME", "ksv-display") / name;
}

/// What is not as demanded; empty when all is.
std::string Difference(const Question& asked, const Options& demanded) {
  const auto type = static_cast<size_t>(asked.type);
  const std::array<std::tuple<const char*, std::string, std::string>, 4> facts{
      {{"challenge", asked.challenge, demanded.challenge},
       {"type", type < kTypes.size() ? kTypes[type] : "", demanded.type},
       {"caption", asked.caption, demanded.caption},
       {"reference", asked.reference, demanded.reference}}};
  for (const auto& [name, is, wanted] : facts) {
    if (is != wanted) return std::string("the ") + name + " is '" + Printable(is) + "'";
  }
  if (demanded.image && *demanded.image != asked.imageId) return "the image is " + std::to_string(asked.imageId);
  return {};
}

void PrintFact(const char* name, std::string_view text) {
  // Texts come from a page: they must not send control sequences to the terminal.
  std::cout << name << ' ' << Printable(text) << '\n';
}

void Print(const Input& input) {
  const Question& asked = input.asked;
  PrintFact("type", kTypes.at(static_cast<size_t>(asked.type)));
  PrintFact("image", std::to_string(asked.imageId));
  PrintFact("caption", asked.caption);
  PrintFact("reference", asked.reference);
  for (std::string_view rest = asked.texts; !rest.empty();) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    PrintFact("shown", line);
    rest.remove_prefix(std::min(rest.size(), line.size() + 1));
  }
  if (asked.type != InputType::kClicks) return PrintFact("input", AsText(input.content));
  ByteReader<Status> reader(input.content, Status::kInternalError);
  while (reader.left() > 0) {
    const auto x = reader.ReadNumber<uint16_t>();
    std::cout << "input " << x << ',' << reader.ReadNumber<uint16_t>() << '\n';
  }
}

int Open(const Options& options) {
  const auto key =
      options.key.empty() ? KeyStore(InHome("display.key")).Load() : KeyStore(Kit::PathOf(options.key)).LoadCopy();
  if (!key) return Fail(kNoFile, "there is no key file");
  const std::optional<Input> input = OpenInput(Decode(*options.sealed), *key, Decode(options.stream));
  if (!input) return Fail(kNotAuthentic, "not authentic, or sealed by another key");
  const std::string difference = Difference(input->asked, options);
  if (!difference.empty()) return Fail(kOtherQuestion, "this is no answer to what is demanded: " + difference);
  UsedChallenges used(options.used.empty() ? InHome("used-challenges") : Kit::PathOf(options.used));
  if (used.Contains(options.challenge)) return Fail(kOtherQuestion, "the challenge was used before");
  // First, so that no end of this program lets it open twice.
  used.Add(options.challenge);
  Print(*input);
  return kOpened;
}

int Run(int count, char** arguments) try {
  Options options;
  if (const auto end = ReadOptions(Kit::CommandLine(count, arguments), options)) return *end;
  if (!options.exported.empty()) {
    KeyStore(InHome("display.key")).Export(Kit::PathOf(options.exported));
    return kOpened;
  }
  if (!options.sealed)
    options.sealed.emplace(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
  return Open(options);
} catch (const Failure<Fault>&) {
  return Fail(kNoFile,
              "the key or the file of used challenges is missing, damaged, open to other users, or there already");
}

}  // namespace

int main(int count, char** arguments) try { return Run(count, arguments); } catch (const std::exception& error) {
  return Fail(kNotAuthentic, error.what());
}
