#include "kit/display/display_status.h"

#include <algorithm>
#include <functional>
#include <iterator>

namespace KsvDisplay {
namespace {

struct Entry {
  Status status;
  std::string_view text;
};

constexpr Entry kTexts[] = {
    {Status::kOk, "Done."},
    {Status::kBufferTooSmall, "The buffer is null or too short; the required length has been stored."},
    {Status::kInputComplete, "The input is complete."},
    {Status::kSessionStands, "There is already a session for this window."},
    {Status::kInvalidArgument, "An argument is missing or out of its range."},
    {Status::kUnknownContext, "The display has not been initialised, or the context is not known."},
    {Status::kUnknownSession, "There is no such session."},
    {Status::kUnknownImage, "There is no such image."},
    {Status::kTooManyContexts, "All contexts are in use."},
    {Status::kTooManySessions, "All sessions are in use."},
    {Status::kBadDescriptor, "The image's description is malformed."},
    {Status::kUnknownInputType, "The input type is not known."},
    {Status::kBadImageSize, "The image is too small or too large."},
    {Status::kBadLogo, "The logo's size and its length do not match, or it is too large."},
    {Status::kBadLimits, "The least and the greatest length contradict each other or the input type."},
    {Status::kUnknownOption, "An option or a choice of colours is not known."},
    {Status::kInputIncomplete, "The input is not complete."},
    {Status::kInputClosed, "The input has been closed; clear it first."},
    {Status::kBadText, "The text is malformed, too short or too long, or does not fit into the image."},
    {Status::kWrongInputType, "The image takes no text, or requires one."},
    {Status::kNoUserInput, "The user has not clicked there, or the call came outside of the click's own function."},
    {Status::kImageNotVisible, "The image must be visible as a whole in its window before clicks on it count."},
    {Status::kInputCancelled, "The user has cancelled the input."},
    {Status::kBadFrame, "The frame is malformed."},
    {Status::kFrameNotAuthentic, "The frame is not authentic."},
    {Status::kBadSetupMessage, "The channel set-up message is malformed."},
    {Status::kUnknownMessageType, "The message type is not known."},
    {Status::kBadRequest, "The message is malformed, or a text in it is too long or not visible."},
    {Status::kNotRegistered, "No callback is registered for this session."},
    {Status::kCallbackRunning, "A callback has not returned yet, or the call came from within it."},
    {Status::kWindowGone, "The window does not exist any more."},
    {Status::kPaintingFailed, "The image could not be painted."},
    {Status::kNoFont, "No font was found."},
    {Status::kStoreFailure, "The display's folder or its key cannot be used."},
    {Status::kOutOfMemory, "Memory ran out."},
    {Status::kInternalError, "Something went wrong inside the display."},
    {Status::kUnknownStatus, "There is no such status."},
};
static_assert(std::ranges::adjacent_find(kTexts, std::ranges::greater_equal(), &Entry::status) == std::end(kTexts),
              "A status stands here twice, or not in its order.");

}  // namespace

std::string_view TextOf(uint32_t status) {
  const auto* const found = std::ranges::find(kTexts, static_cast<Status>(status), &Entry::status);
  return found != std::end(kTexts) ? found->text : std::string_view();
}

}  // namespace KsvDisplay
