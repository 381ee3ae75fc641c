#include <filesystem>
#include <iostream>
#include <iterator>
#include <string>

#include "base/base64.h"
#include "kit/display/sealed_input.h"
#include "kit/display/visible_text.h"
#include "kit/shared/key_store.h"
#include "kit/shared/system.h"

using namespace KsvDisplay;

namespace {

constexpr const char* kUsage =
    R"(usage: ksv-unseal [--key FILE] [--stream BASE64] [BASE64]

Opens a sealed input of the reference display and prints what the user gave: digits, OK, a text, or x,y a line for
each click. In a text a backslash stands doubled, and a character that doesn't show as \u{HEX}. The sealed input is the
argument, or is read from standard input.

  --key FILE        a copy of the user's display.key; without it, the user's own
  --stream BASE64   the stream key of the session, if one was set
  --help            this text

Exit status: 0 opened, 1 not authentic or sealed by another key, 2 the command line is wrong, 3 the key can't be read.
)";

enum ExitStatus { kOpened = 0, kNotAuthentic = 1, kWrongUsage = 2, kNoKey = 3 };

SecretBytes Decode(std::string_view text) {
  const NorvoWebAPI::ByteBuffer decoded = NorvoWebAPI::DecodeBase64(text.data(), static_cast<int32_t>(text.size()));
  return SecretBytes(decoded.bytes.get(), decoded.bytes.get() + decoded.size);
}

struct Options {
  std::filesystem::path key;
  SecretBytes stream;
  std::optional<SecretBytes> sealed;
};

std::optional<Options> ReadOptions(int count, char** arguments) {
  Options options;
  for (int i = 1; i < count; ++i) {
    const std::string_view argument = arguments[i];
    if (argument == "--key" || argument == "--stream") {
      if (++i == count) return std::nullopt;
      if (argument == "--key") {
        options.key = arguments[i];
        continue;
      }
      options.stream = Decode(arguments[i]);
      if (options.stream.empty()) return std::nullopt;
    } else if (argument.starts_with("-") || options.sealed) {
      return std::nullopt;
    } else {
      options.sealed = Decode(argument);
    }
  }
  return options;
}

int Fail(ExitStatus status, const char* why) {
  std::cerr << "ksv-unseal: " << why << '\n';
  return status;
}

void Print(const Input& input) {
  if (input.type != InputType::kClicks) {
    // A page chooses a typed text: it must not reach the terminal as commands.
    std::cout << AsText(Printable(AsText(input.content))) << '\n';
    return;
  }
  ByteReader<Status> reader(input.content, Status::kInternalError);
  while (reader.left() > 0) {
    const auto x = reader.TakeNumber<uint16_t>();
    std::cout << x << ',' << reader.TakeNumber<uint16_t>() << '\n';
  }
}

int Run(int count, char** arguments) {
  if (count == 2 && std::string_view(arguments[1]) == "--help") {
    std::cout << kUsage;
    return kOpened;
  }
  std::optional<Options> options = ReadOptions(count, arguments);
  if (!options) {
    std::cerr << kUsage;
    return kWrongUsage;
  }
  if (!options->sealed) {
    const std::string text{std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>()};
    options->sealed = Decode(text);
  }
  std::optional<SecretBytes> key;
  try {
    if (options->key.empty()) options->key = System::HomeFolder("KSV_DISPLAY_HOME", "ksv-display") / "display.key";
    key = KeyStore(options->key).Load();
  } catch (const Failure<Fault>&) {
    return Fail(kNoKey, "the key file is damaged, or open to other users");
  }
  if (!key) return Fail(kNoKey, "there is no key file");
  const std::optional<Input> input = OpenInput(*options->sealed, *key, options->stream);
  if (!input) return Fail(kNotAuthentic, "not authentic, or sealed by another key");
  Print(*input);
  return kOpened;
}

}  // namespace

int main(int count, char** arguments) try { return Run(count, arguments); } catch (const std::exception& error) {
  return Fail(kNotAuthentic, error.what());
}
