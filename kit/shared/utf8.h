#pragma once

#include <optional>
#include <string>

#include "kit/shared/bytes.h"
#include "kit/shared/system.h"

/// UTF-8 by the system's own conversion. Ill-formed text is refused, never replaced: nobody else's reading of it may
/// differ from what was checked here.
namespace KsvKit {

using WideText = std::basic_string<WCHAR>;
using WideView = std::basic_string_view<WCHAR>;

/// Nothing for a text that is not well-formed UTF-8.
std::optional<WideText> WideFromUtf8(std::string_view text);

/// Nothing for a text with an unpaired surrogate.
std::optional<SecretBytes> Utf8FromWide(WideView text);

/// The code points of a text; nothing when it is not well-formed UTF-8.
std::optional<std::u32string> CodePointsOf(std::string_view text);

}  // namespace KsvKit
