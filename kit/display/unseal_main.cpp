#include <iostream>
#include <iterator>
#include <string>

#include "base/base64.h"
#include "kit/display/sealed_input.h"
#include "kit/display/visible_text.h"
#include "kit/program/command_line.h"
#include "kit/program/option_parser.h"
#include "kit/program/paths.h"
#include "kit/shared/key_store.h"
#include "kit/shared/system.h"

using namespace KsvDisplay;

namespace {

enum ExitStatus { kOpened = 0, kNotAuthentic = 1, kNoKey = 3 };

constexpr char kDescription[] = "Opens a sealed input of the reference display and prints what the user gave.";

constexpr char kFooter[] =
    R"(It prints digits, OK, a text, or x,y a line for each click. In a text a backslash is doubled, and a character that
is not visible is \u{HEX}.

Exit status: 0 opened, 1 not authentic or sealed by another key, 2 the command line is wrong, 3 the key can't be read.)";

struct Options {
  std::string key;
  std::string stream;
  std::optional<std::string> sealed;
};

SecretBytes Decode(std::string_view text) {
  const NorvoWebAPI::ByteBuffer decoded = NorvoWebAPI::DecodeBase64(text.data(), static_cast<int32_t>(text.size()));
  return SecretBytes(decoded.bytes.get(), decoded.bytes.get() + decoded.size);
}

std::optional<int> ReadOptions(const std::vector<std::string>& arguments, Options& options) {
  Kit::OptionParser parser("ksv-unseal", kDescription, kFooter);
  const auto isBase64 = [](const std::string& text) { return Decode(text).empty() ? "it takes Base64" : ""; };
  parser.add_option("SEALED", options.sealed, "the sealed input in Base64;\nwithout it, standard input is read")
      ->type_name("");
  parser.add_option("--key", options.key, "a copy of the user's display.key;\nwithout it, the user's own")
      ->type_name("FILE");
  parser.add_option("--stream", options.stream, "the stream key of the session, if one was set")
      ->type_name("BASE64")
      ->check(isBase64, "");
  return parser.Read(arguments);
}

int Fail(ExitStatus status, const char* why) {
  std::cerr << "ksv-unseal: " << why << '\n';
  return status;
}

void Print(const Input& input) {
  if (input.type != InputType::kClicks) {
    // A typed text comes from a page: it must not send control sequences to the terminal.
    std::cout << Printable(AsText(input.content)) << '\n';
    return;
  }
  ByteReader<Status> reader(input.content, Status::kInternalError);
  while (reader.left() > 0) {
    const auto x = reader.ReadNumber<uint16_t>();
    std::cout << x << ',' << reader.ReadNumber<uint16_t>() << '\n';
  }
}

int Run(int count, char** arguments) {
  Options options;
  if (const auto end = ReadOptions(Kit::CommandLine(count, arguments), options)) return *end;
  if (!options.sealed)
    options.sealed.emplace(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
  std::optional<SecretBytes> key;
  try {
    const auto file = options.key.empty() ? System::HomeFolder("KSV_DISPLAY_HOME", "ksv-display") / "display.key"
                                          : Kit::PathOf(options.key);
    key = KeyStore(file).Load();
  } catch (const Failure<Fault>&) {
    return Fail(kNoKey, "the key file is damaged, or open to other users");
  }
  if (!key) return Fail(kNoKey, "there is no key file");
  const std::optional<Input> input = OpenInput(Decode(*options.sealed), *key, Decode(options.stream));
  if (!input) return Fail(kNotAuthentic, "not authentic, or sealed by another key");
  Print(*input);
  return kOpened;
}

}  // namespace

int main(int count, char** arguments) try { return Run(count, arguments); } catch (const std::exception& error) {
  return Fail(kNotAuthentic, error.what());
}
