#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <xcb/xcb.h>
#include <xcb/xcb_ewmh.h>
#include <xcb/xcb_icccm.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <bitset>
#include <cstdlib>

#include "platform/screen.h"
#include "platform/x11_keyboard.h"

namespace platform {
namespace {

struct Free {
  void operator()(void* memory) const { std::free(memory); }  // NOLINT(cppcoreguidelines-no-malloc): as XCB wants it.
};
template <class Reply>
using Owned = std::unique_ptr<Reply, Free>;
using Event = Owned<xcb_generic_event_t>;

struct Disconnect {
  void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;

class WakeFile {
 public:
  WakeFile() : file(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
  ~WakeFile() {
    if (file >= 0) close(file);
  }
  WakeFile(const WakeFile&) = delete;
  WakeFile& operator=(const WakeFile&) = delete;

  int number() const { return file; }
  void Set() const { eventfd_write(file, 1); }
  void Clear() const {
    eventfd_t ignored = 0;
    eventfd_read(file, &ignored);
  }

 private:
  int file;
};

constexpr uint8_t kDepth = 24;
constexpr uint8_t kTypeMask = 0x7F;
constexpr uint8_t kSentByProgram = 0x80;

const xcb_screen_t* ScreenAt(xcb_connection_t* connection, int number) {
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
  for (; number > 0 && screens.rem > 0; --number) xcb_screen_next(&screens);
  return screens.rem > 0 ? screens.data : nullptr;
}

// The kind of window whose pixels are those that the layer paints: 0x00RRGGBB in this machine's byte order. Servers of
// today have it; 0 for others.
xcb_visualid_t FindVisual(const xcb_setup_t* setup, const xcb_screen_t* screen) {
  const auto ownOrder =
      std::endian::native == std::endian::little ? XCB_IMAGE_ORDER_LSB_FIRST : XCB_IMAGE_ORDER_MSB_FIRST;
  const xcb_format_t* const formats = xcb_setup_pixmap_formats(setup);
  const bool areWords = std::any_of(formats, formats + xcb_setup_pixmap_formats_length(setup), [](const auto& format) {
    return format.depth == kDepth && format.bits_per_pixel == 32;
  });
  if (setup->image_byte_order != ownOrder || !areWords) return 0;
  for (auto depths = xcb_screen_allowed_depths_iterator(screen); depths.rem > 0; xcb_depth_next(&depths)) {
    if (depths.data->depth != kDepth) continue;
    const xcb_visualtype_t* const visuals = xcb_depth_visuals(depths.data);
    const xcb_visualtype_t* const end = visuals + xcb_depth_visuals_length(depths.data);
    const auto* const found = std::find_if(visuals, end, [](const xcb_visualtype_t& visual) {
      return visual._class == XCB_VISUAL_CLASS_TRUE_COLOR && visual.red_mask == 0xFF0000 && visual.blue_mask == 0xFF;
    });
    if (found != end) return found->visual_id;
  }
  return 0;
}

class X11Screen final : public Screen {
 public:
  X11Screen(Connection connected, int number, const xcb_screen_t& screen, xcb_visualid_t visual)
      : connection(std::move(connected)),
        screenNumber(number),
        root(screen.root),
        visual(visual),
        colours(xcb_generate_id(connection.get())),
        pen(xcb_generate_id(connection.get())),
        keyboard(connection.get()),
        hasAtoms(xcb_ewmh_init_atoms_replies(&hints, xcb_ewmh_init_atoms(connection.get(), &hints), nullptr) != 0),
        protocols(AtomOf("WM_PROTOCOLS")),
        deleteWindow(AtomOf("WM_DELETE_WINDOW")) {
    xcb_create_colormap(connection.get(), XCB_COLORMAP_ALLOC_NONE, colours, root, visual);
    // A pen is made for drawables of one depth; this one is for those of the windows.
    const xcb_pixmap_t sample = xcb_generate_id(connection.get());
    xcb_create_pixmap(connection.get(), kDepth, sample, root, 1, 1);
    xcb_create_gc(connection.get(), pen, sample, 0, nullptr);
    xcb_free_pixmap(connection.get(), sample);
  }
  ~X11Screen() override {
    if (hasAtoms) xcb_ewmh_connection_wipe(&hints);
  }
  X11Screen(const X11Screen&) = delete;
  X11Screen& operator=(const X11Screen&) = delete;

  bool isUsable() const {
    return hasAtoms && keyboard.isUsable() && wake.number() >= 0 && xcb_connection_has_error(connection.get()) == 0;
  }

  // Asked anew each time: a screen grows when somebody adds a monitor.
  POINT size() const override {
    const auto request = xcb_get_geometry(connection.get(), root);
    const Owned<xcb_get_geometry_reply_t> whole(xcb_get_geometry_reply(connection.get(), request, nullptr));
    wake.Set();  // Events may have come with the answer.
    return whole ? POINT{whole->width, whole->height} : POINT{};
  }

  uint32_t Open(const Placement& place) override {
    const xcb_window_t window = xcb_generate_id(connection.get());
    constexpr uint32_t kEvents = XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_VISIBILITY_CHANGE |
                                 XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_FOCUS_CHANGE |
                                 XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE |
                                 XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE;
    constexpr uint32_t kWhite = 0xFFFFFF;
    // In the order of the mask's bits. The border, though of no width, may not be inherited from a root of another
    // depth.
    const std::array<uint32_t, 4> values{kWhite, 0, kEvents, colours};
    xcb_create_window(connection.get(), kDepth, window, root, static_cast<int16_t>(place.origin.x),
                      static_cast<int16_t>(place.origin.y), SideOf(place.size.x), SideOf(place.size.y), 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_EVENT_MASK | XCB_CW_COLORMAP, values.data());
    xcb_icccm_set_wm_protocols(connection.get(), window, protocols, 1, &deleteWindow);
    xcb_icccm_wm_hints_t input{};
    xcb_icccm_wm_hints_set_input(&input, 1);
    xcb_icccm_set_wm_hints(connection.get(), window, &input);
    xcb_ewmh_set_wm_pid(&hints, window, static_cast<uint32_t>(getpid()));
    SetSizeHints(window, place);
    return window;
  }

  void Close(uint32_t window) override {
    xcb_destroy_window(connection.get(), window);
    Flush();
  }

  void Show(uint32_t window, bool activate, bool isTopmost) override {
    // By EWMH, the user time 0 asks the window manager not to give the window the keyboard.
    if (!activate) xcb_ewmh_set_wm_user_time(&hints, window, 0);
    if (isTopmost) xcb_ewmh_set_wm_state(&hints, window, 1, &hints._NET_WM_STATE_ABOVE);
    xcb_map_window(connection.get(), window);
    if (isTopmost) PutAbove(window);
    Flush();
  }

  void Hide(uint32_t window) override {
    xcb_unmap_window(connection.get(), window);
    Flush();
  }

  void Place(uint32_t window, const Placement& place) override {
    SetSizeHints(window, place);
    const std::array<uint32_t, 4> values{static_cast<uint32_t>(place.origin.x), static_cast<uint32_t>(place.origin.y),
                                         SideOf(place.size.x), SideOf(place.size.y)};
    xcb_configure_window(connection.get(), window,
                         XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT,
                         values.data());
    Flush();
  }

  void Raise(uint32_t window, bool keep) override {
    xcb_ewmh_request_change_wm_state(&hints, screenNumber, window,
                                     keep ? XCB_EWMH_WM_STATE_ADD : XCB_EWMH_WM_STATE_REMOVE, hints._NET_WM_STATE_ABOVE,
                                     0, XCB_EWMH_CLIENT_SOURCE_TYPE_NORMAL);
    PutAbove(window);
    Flush();
  }

  void SetTitle(uint32_t window, const std::string& utf8) override {
    const auto length = static_cast<uint32_t>(utf8.size());
    xcb_ewmh_set_wm_name(&hints, window, length, utf8.data());
    // For window managers that know the older property alone.
    xcb_icccm_set_wm_name(connection.get(), window, hints.UTF8_STRING, 8, length, utf8.data());
    Flush();
  }

  void Focus(uint32_t window) override {
    xcb_set_input_focus(connection.get(), XCB_INPUT_FOCUS_PARENT, window, lastInput);
    Flush();
  }

  void Paint(uint32_t window, const Placement& area, const uint32_t* pixels) override {
    const auto width = static_cast<uint32_t>(area.size.x);
    const auto height = static_cast<uint32_t>(area.size.y);
    if (width == 0 || height == 0) return;
    // A server takes requests of a limited length, counted in words as the pixels are.
    constexpr uint32_t kHeader = sizeof(xcb_put_image_request_t) / 4 + 1;
    const uint32_t rowsAtOnce = (xcb_get_maximum_request_length(connection.get()) - kHeader) / width;
    if (rowsAtOnce == 0) return;
    for (uint32_t row = 0; row < height; row += rowsAtOnce) {
      const uint32_t rows = std::min(rowsAtOnce, height - row);
      xcb_put_image(connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, window, pen, static_cast<uint16_t>(width),
                    static_cast<uint16_t>(rows), static_cast<int16_t>(area.origin.x),
                    static_cast<int16_t>(area.origin.y + static_cast<LONG>(row)), 0, kDepth, rows * width * 4,
                    reinterpret_cast<const uint8_t*>(pixels + size_t{row} * width));
    }
    Flush();
  }

  void Clear(uint32_t window, const RECT& area) override {
    xcb_clear_area(connection.get(), 1, window, static_cast<int16_t>(area.left), static_cast<int16_t>(area.top),
                   SideOf(area.right - area.left), SideOf(area.bottom - area.top));
    Flush();
  }

  bool Read() override {
    for (Event event = Next(); event; event = Next()) Tell(*event);
    xcb_flush(connection.get());
    return xcb_connection_has_error(connection.get()) == 0;
  }

  void Wait(int milliseconds) override {
    std::array<pollfd, 2> files{{{xcb_get_file_descriptor(connection.get()), POLLIN, 0}, {wake.number(), POLLIN, 0}}};
    poll(files.data(), files.size(), milliseconds);
    wake.Clear();
  }

  void Wake() override { wake.Set(); }

 private:
  static uint16_t SideOf(LONG length) { return static_cast<uint16_t>(std::clamp<LONG>(length, 1, INT16_MAX)); }

  xcb_atom_t AtomOf(std::string_view name) {
    const auto request = xcb_intern_atom(connection.get(), 0, static_cast<uint16_t>(name.size()), name.data());
    const Owned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection.get(), request, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
  }

  // Also has the waiting thread look for events: XCB may have taken some from the connection while it sent.
  void Flush() {
    xcb_flush(connection.get());
    wake.Set();
  }

  // Without a window manager the order alone counts.
  void PutAbove(uint32_t window) {
    const uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(connection.get(), window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
  }

  // The program alone chooses the size. Its origin is that of what it paints, not of a window manager's frame.
  void SetSizeHints(uint32_t window, const Placement& place) {
    xcb_size_hints_t fixed{};
    const auto [width, height] = place.size;
    xcb_icccm_size_hints_set_position(&fixed, 1, place.origin.x, place.origin.y);
    xcb_icccm_size_hints_set_size(&fixed, 1, width, height);
    xcb_icccm_size_hints_set_min_size(&fixed, width, height);
    xcb_icccm_size_hints_set_max_size(&fixed, width, height);
    xcb_icccm_size_hints_set_win_gravity(&fixed, XCB_GRAVITY_STATIC);
    xcb_icccm_set_wm_normal_hints(connection.get(), window, &fixed);
  }

  Event Next() {
    if (ahead) return std::move(ahead);
    return Event(xcb_poll_for_event(connection.get()));
  }

  void Tell(const xcb_generic_event_t& event) {
    // What another program made up is neither the user's input nor the display's word.
    const bool isMadeUp = (event.response_type & kSentByProgram) != 0;
    const uint8_t type = event.response_type & kTypeMask;
    // A window manager sends where a window is, and what the user asks of it.
    if (isMadeUp && type != XCB_CONFIGURE_NOTIFY && type != XCB_CLIENT_MESSAGE) return;
    switch (type) {
      case XCB_EXPOSE:
        return ReportExposed(reinterpret_cast<const xcb_expose_event_t&>(event).window);
      case XCB_CONFIGURE_NOTIFY:
        return TellPlace(reinterpret_cast<const xcb_configure_notify_event_t&>(event));
      case XCB_VISIBILITY_NOTIFY: {
        const auto& seen = reinterpret_cast<const xcb_visibility_notify_event_t&>(event);
        return ReportCovered(seen.window, seen.state != XCB_VISIBILITY_UNOBSCURED);
      }
      case XCB_FOCUS_IN:
      case XCB_FOCUS_OUT: {
        const auto& focus = reinterpret_cast<const xcb_focus_in_event_t&>(event);
        // Where the mouse gives the keyboard, its moves are told too.
        if (focus.detail == XCB_NOTIFY_DETAIL_POINTER) return;
        return ReportFocus(focus.event, (event.response_type & kTypeMask) == XCB_FOCUS_IN);
      }
      case XCB_BUTTON_PRESS:
      case XCB_BUTTON_RELEASE:
        return TellButton(reinterpret_cast<const xcb_button_press_event_t&>(event));
      case XCB_KEY_PRESS:
      case XCB_KEY_RELEASE:
        return TellKey(reinterpret_cast<const xcb_key_press_event_t&>(event));
      case XCB_CLIENT_MESSAGE: {
        const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(event);
        if (message.type == protocols && message.data.data32[0] == deleteWindow) ReportCloseAsked(message.window);
        return;
      }
      case XCB_MAPPING_NOTIFY: {
        auto changed = reinterpret_cast<const xcb_mapping_notify_event_t&>(event);
        return keyboard.Refresh(changed);
      }
      default:
        return;
    }
  }

  // Asks for the place: the event has that in the window manager's frame.
  void TellPlace(const xcb_configure_notify_event_t& event) {
    const auto request = xcb_translate_coordinates(connection.get(), event.window, root, 0, 0);
    const Owned<xcb_translate_coordinates_reply_t> at(
        xcb_translate_coordinates_reply(connection.get(), request, nullptr));
    if (at) ReportPlaced(event.window, {{at->dst_x, at->dst_y}, {event.width, event.height}});
  }

  void TellButton(const xcb_button_press_event_t& event) {
    if (event.detail != XCB_BUTTON_INDEX_1) return;
    const bool isPress = (event.response_type & kTypeMask) == XCB_BUTTON_PRESS;
    lastInput = event.time;
    // As with any window: a click gives it the keyboard.
    if (isPress) Focus(event.event);
    ReportButton(event.event, isPress ? WM_LBUTTONDOWN : WM_LBUTTONUP, {event.event_x, event.event_y});
  }

  void TellKey(const xcb_key_press_event_t& event) {
    const bool isPress = (event.response_type & kTypeMask) == XCB_KEY_PRESS;
    lastInput = event.time;
    if (!isPress) {
      // A key that is held is told as released and pressed again, in one moment.
      if (!ahead) ahead.reset(xcb_poll_for_event(connection.get()));
      const auto* const next = reinterpret_cast<const xcb_key_press_event_t*>(ahead.get());
      if (next && next->response_type == XCB_KEY_PRESS && next->detail == event.detail && next->time == event.time) {
        return;
      }
    }
    const bool repeats = isPress && held[event.detail];
    held[event.detail] = isPress;
    const KeyInput key = keyboard.KeyOf(event);
    if (key.code != 0) ReportKey(event.event, isPress ? WM_KEYDOWN : WM_KEYUP, key, repeats);
  }

  const Connection connection;
  const int screenNumber;
  const xcb_window_t root;
  const xcb_visualid_t visual;
  const xcb_colormap_t colours;
  const xcb_gcontext_t pen;
  X11Keyboard keyboard;
  const WakeFile wake;
  xcb_ewmh_connection_t hints{};
  const bool hasAtoms;
  const xcb_atom_t protocols;
  xcb_atom_t deleteWindow;  // Not constant: XCB takes it as a list of one that it could change.
  // The owning thread's alone, as `Read` is, but for the time, which `Focus` reads.
  std::atomic<xcb_timestamp_t> lastInput = XCB_CURRENT_TIME;
  std::bitset<256> held;
  Event ahead;
};

std::shared_ptr<Screen> Connect() {
  int number = 0;
  Connection connection(xcb_connect(nullptr, &number));
  if (xcb_connection_has_error(connection.get()) != 0) return nullptr;
  const xcb_screen_t* const screen = ScreenAt(connection.get(), number);
  const xcb_visualid_t visual = screen ? FindVisual(xcb_get_setup(connection.get()), screen) : 0;
  if (visual == 0) return nullptr;
  auto made = std::make_shared<X11Screen>(std::move(connection), number, *screen, visual);
  return made->isUsable() ? made : nullptr;
}

// Before main: whoever links this file shows windows by it.
[[maybe_unused]] const bool isInstalled = [] {
  connectScreen = Connect;
  return true;
}();

}  // namespace
}  // namespace platform
