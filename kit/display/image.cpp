#include "kit/display/image.h"

#include <algorithm>
#include <utility>

#include "kit/shared/crypto.h"
#include "kit/shared/utf8.h"

namespace KsvDisplay {
namespace {

constexpr size_t kMaxClicks = 64;
constexpr std::string_view kConfirmed = "OK";

/// Uniformly distributed over 0 to `bound` - 1.
uint8_t RandomBelow(uint8_t bound) {
  const int fair = 256 / bound * bound;
  for (;;) {
    std::array<uint8_t, 1> random;
    Crypto::FillRandom(random);
    if (random[0] < fair) return static_cast<uint8_t>(random[0] % bound);
  }
}

Descriptor DescribeFrame(const Pixels& frame, uint32_t id) {
  Descriptor descriptor;
  descriptor.type = InputType::kClicks;
  descriptor.imageId = id;
  descriptor.size = {frame.width, frame.height};
  descriptor.least = 1;
  descriptor.greatest = kMaxClicks;
  return descriptor;
}

}  // namespace

Image::Image(Descriptor descriptor, Point origin, std::string caption, Request request, ByteView source)
    : descriptor_(std::move(descriptor)),
      origin_(origin),
      caption_(std::move(caption)),
      request_(std::move(request)),
      digest_(Crypto::Sha256(source)),
      layout_(LayOut(descriptor_, caption_, request_.reference)) {
  // So that it never grows, which would copy the secret and could fail in the middle of an input.
  input_.reserve(descriptor_.greatest);
  Shuffle();
}

Image::Image(PixelsPtr frame, uint32_t id, Point origin, std::string challenge, ByteView source)
    : descriptor_(DescribeFrame(*frame, id)),
      origin_(origin),
      request_{{}, std::move(challenge)},
      digest_(Crypto::Sha256(source)),
      frame_(std::move(frame)) {
  input_.reserve(kMaxClicks * sizeof(Point));
}

void Image::Shuffle() {
  if (descriptor_.type != InputType::kPin) return;
  SecretBytes order{'0', '1', '2', '3', '4', '5', '6', '7', '8', '9'};
  for (size_t last = kDigitCount - 1; last > 0; --last) {
    std::swap(order[last], order[RandomBelow(static_cast<uint8_t>(last + 1))]);
  }
  digits_.swap(order);
  orderIsShown_ = false;
}

uint32_t Image::Changed() {
  picture.reset();
  return kImageChanged;
}

const Key* Image::KeyAt(Point at) const {
  for (const Key& key : layout_.keys) {
    if (key.area.Contains(at.x - origin_.x, at.y - origin_.y)) return &key;
  }
  return nullptr;
}

uint32_t Image::Press(Point at) {
  Require(!closed_, Status::kInputClosed);
  isDown_ = area().Contains(at.x, at.y);
  pressedKey_.reset();
  const Key* const key = KeyAt(at);
  if (key == nullptr) return 0;
  pressedKey_ = static_cast<size_t>(key - layout_.keys.data());
  return Changed();
}

uint32_t Image::Release(Point at) {
  Require(!closed_, Status::kInputClosed);
  const bool wasDown = std::exchange(isDown_, false);
  const std::optional<size_t> pressed = std::exchange(pressedKey_, std::nullopt);
  if (isRemote()) {
    if (!wasDown || !area().Contains(at.x, at.y) || entered_ == kMaxClicks) return 0;
    AppendNumber(input_, static_cast<uint16_t>(at.x - origin_.x));
    AppendNumber(input_, static_cast<uint16_t>(at.y - origin_.y));
    ++entered_;
    notice_ = Notice::kNone;
    return kImageChanged | kInputCompleted;
  }
  if (!pressed) return 0;
  const Key& key = layout_.keys[*pressed];
  return Changed() | (KeyAt(at) == &key ? UseKey(key) : 0);
}

std::optional<uint32_t> Image::Type(TypedKey typed) {
  if (!takesKeys() || closed_) return std::nullopt;
  if (typed.kind == Key::Kind::kDigit) return Changed() | Enter(typed.digit);
  const auto key = std::ranges::find(layout_.keys, typed.kind, &Key::kind);
  return key != layout_.keys.end() ? Changed() | UseKey(*key) : Changed();
}

uint32_t Image::Enter(uint8_t digit) {
  notice_ = Notice::kNone;
  if (IsComplete()) return 0;
  Shuffle();
  input_.push_back(digit);
  ++entered_;
  return IsComplete() ? kInputCompleted : 0;
}

uint32_t Image::UseKey(const Key& key) {
  notice_ = Notice::kNone;
  switch (key.kind) {
    case Key::Kind::kCancel:
      Finish(Notice::kCancelled);
      return kInputCancelled;
    case Key::Kind::kDelete:
      if (entered_ == 0) return 0;
      Shuffle();
      input_.back() = 0;
      input_.pop_back();
      --entered_;
      isConfirmed_ = false;
      return 0;
    case Key::Kind::kClear:
      Clear();
      return 0;
    case Key::Kind::kDigit:
      // An order that was not shown yet has nothing to choose from: the user saw another one.
      if (!orderIsShown_) return 0;
      return Enter(digits_[static_cast<size_t>(&key - layout_.keys.data())]);
    case Key::Kind::kOk:
      if (descriptor_.type == InputType::kConfirmation) {
        input_.assign(kConfirmed.begin(), kConfirmed.end());
        entered_ = 1;
      }
      isConfirmed_ = HasEnough();
      if (!isConfirmed_) notice_ = Notice::kMissing;
      return isConfirmed_ ? kInputCompleted : 0;
  }
  return 0;
}

void Image::Clear() {
  Shuffle();
  input_.clear();
  entered_ = 0;
  isConfirmed_ = false;
  closed_ = false;
  notice_ = Notice::kNone;
  isDown_ = false;
  pressedKey_.reset();
  Changed();
}

void Image::Finish(Notice why) {
  Clear();
  closed_ = true;
  notice_ = why;
}

void Image::Tell(const Verdict& verdict) {
  if (verdict.error) {
    Clear();
    notice_ = Notice::kRejected;
    closed_ = verdict.attemptsLeft == 0U;
  }
  attemptsLeft_ = verdict.attemptsLeft;
  if (!verdict.challenge.empty()) request_.challenge = verdict.challenge;
  Changed();
}

bool Image::HasEnough() const {
  if (descriptor_.type == InputType::kConfirmation) return entered_ > 0;
  return entered_ >= descriptor_.least;
}

bool Image::IsComplete() const {
  // Clicks on a remote image have no OK: each may be the last.
  if (descriptor_.type == InputType::kClicks) return HasEnough();
  return isConfirmed_ || closed_ || (descriptor_.type == InputType::kPin && entered_ == descriptor_.greatest);
}

void Image::Submit() {
  Require(descriptor_.type != InputType::kText, Status::kWrongInputType);
  Require(!closed_, Status::kInputClosed);
  Require(HasEnough(), Status::kInputIncomplete);
  closed_ = true;
  Changed();
}

void Image::SubmitText(const WCHAR* text, size_t limit) {
  Require(descriptor_.type == InputType::kText, Status::kWrongInputType);
  Require(!closed_, Status::kInputClosed);
  const size_t length = static_cast<size_t>(std::find(text, text + limit, WCHAR{0}) - text);
  std::optional<SecretBytes> utf8 = Utf8FromWide({text, length});
  Require(utf8.has_value(), Status::kBadText);
  const auto characters =
      static_cast<size_t>(std::ranges::count_if(*utf8, [](uint8_t byte) { return (byte & 0xC0) != 0x80; }));
  Require(characters >= descriptor_.least && characters <= descriptor_.greatest, Status::kBadText);
  input_ = std::move(*utf8);
  entered_ = characters;
  closed_ = true;
  notice_ = Notice::kNone;
  Changed();
}

Input Image::CompleteInput() const {
  Require(notice_ != Notice::kCancelled, Status::kInputCancelled);
  // An input that was given out or rejected is closed too.
  Require(notice_ == Notice::kNone && IsComplete(), Status::kInputIncomplete);
  Question asked{descriptor_.type, descriptor_.imageId, caption_, request_.reference,
                 Texts(),          request_.challenge,  digest_};
  return {std::move(asked), input_};
}

/// What the image says before anything is entered, but for the caption, the reference and the digits.
std::string Image::Texts() const {
  if (isRemote()) return {};
  Layout plain = layout_;
  plain.caption.clear();
  plain.reference.clear();
  std::string texts;
  for (const Label& label : DrawScene(descriptor_, plain, AsText(digits_), {}).labels) {
    const bool isDigit = label.text.size() == 1 && label.text[0] >= '0' && label.text[0] <= '9';
    if (!isDigit) texts += (texts.empty() ? "" : "\n") + label.text;
  }
  return texts;
}

Scene Image::Draw() const {
  if (isRemote()) return DrawScene(frame_);
  return DrawScene(descriptor_, layout_, AsText(digits_),
                   {entered_, closed_, pressedKey_ ? &layout_.keys[*pressedKey_] : nullptr, notice_, attemptsLeft_});
}

std::string Image::ListKeys() const {
  std::string lines;
  for (const Key& key : layout_.keys) {
    lines += NameOf(layout_, key, AsText(digits_)) + ' ' + std::to_string(key.area.x + origin_.x) + ' ' +
             std::to_string(key.area.y + origin_.y) + ' ' + std::to_string(key.area.width) + ' ' +
             std::to_string(key.area.height) + '\n';
  }
  return lines;
}

}  // namespace KsvDisplay
