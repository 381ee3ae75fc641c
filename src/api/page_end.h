#pragma once

namespace NorvoWebAPI::KSV {

class Scriptable;

/// Gives back what a page has initialised and registered when the host destroys its instance. The page's object may
/// live on. Never throws.
void EndPage(Scriptable& object);

}  // namespace NorvoWebAPI::KSV
