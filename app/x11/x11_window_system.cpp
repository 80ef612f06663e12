#include "x11_window_system.hpp"

#include "halyward/text/text.hpp"
#include "launcher.hpp"
#include "overlays.hpp"

#include <xcb/randr.h>
#include <xcb/xcb_icccm.h>
// The XKB header names a structure field "explicit", a C++ keyword; the field is never
// used here.
#define explicit xkb_explicit
#include <xcb/xkb.h>
#undef explicit

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <thread>

#include <sys/inotify.h>
#include <unistd.h>

namespace halyward::x11 {

namespace {

/// Frees what XCB hands out with malloc.
template <class T>
struct Reply {
    T* value = nullptr;
    explicit Reply(T* reply) : value(reply) {}
    ~Reply() { std::free(value); }
    Reply(const Reply&) = delete;
    Reply& operator=(const Reply&) = delete;
    T* operator->() const { return value; }
    explicit operator bool() const { return value != nullptr; }
};

using Extents = FrameEdges;

Extents extentsFrom(xcb_get_property_reply_t* reply) {
    Extents extents;
    if (reply == nullptr || reply->format != 32 || xcb_get_property_value_length(reply) < 16) {
        return extents;
    }
    const auto* values = static_cast<const std::uint32_t*>(xcb_get_property_value(reply));
    extents.left = values[0];
    extents.right = values[1];
    extents.top = values[2];
    extents.bottom = values[3];
    return extents;
}

std::vector<std::uint32_t> cardinals(xcb_get_property_reply_t* reply) {
    if (reply == nullptr || reply->format != 32) return {};
    const auto* values = static_cast<const std::uint32_t*>(xcb_get_property_value(reply));
    const int count = xcb_get_property_value_length(reply) / 4;
    return {values, values + count};
}

std::string propertyText(xcb_get_property_reply_t* reply) {
    if (reply == nullptr || reply->format != 8) return {};
    const auto* bytes = static_cast<const char*>(xcb_get_property_value(reply));
    std::string text(bytes, static_cast<std::size_t>(xcb_get_property_value_length(reply)));
    while (!text.empty() && text.back() == '\0') text.pop_back();
    return text;
}

xcb_get_property_cookie_t getProperty(xcb_connection_t* c, xcb_window_t window, xcb_atom_t atom,
                                      xcb_atom_t type = XCB_GET_PROPERTY_TYPE_ANY) {
    return xcb_get_property(c, 0, window, atom, type, 0, 4096);
}

xcb_atom_t internAtom(xcb_connection_t* c, const char* name) {
    Reply reply(xcb_intern_atom_reply(
        c, xcb_intern_atom(c, 0, static_cast<std::uint16_t>(std::strlen(name)), name), nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

bool contains(const std::vector<std::uint32_t>& list, xcb_atom_t atom) {
    return std::find(list.begin(), list.end(), atom) != list.end();
}

// Frames are doubles in the core; X wants whole pixels. Both edges are rounded, so two
// tiles that share an edge in the core share it on screen too.
struct PixelRect {
    std::int32_t x, y, width, height;
};

PixelRect pixels(const Frame& frame) {
    const auto left = static_cast<std::int32_t>(std::lround(frame.x));
    const auto top = static_cast<std::int32_t>(std::lround(frame.y));
    const auto right = static_cast<std::int32_t>(std::lround(frame.maxX()));
    const auto bottom = static_cast<std::int32_t>(std::lround(frame.maxY()));
    return {left, top, std::max(1, right - left), std::max(1, bottom - top)};
}

}  // namespace

std::unique_ptr<X11WindowSystem> X11WindowSystem::connect(EventLoop& loop, const char* displayName,
                                                          std::string& error) {
    int screenNumber = 0;
    xcb_connection_t* connection = xcb_connect(displayName, &screenNumber);
    if (connection == nullptr || xcb_connection_has_error(connection) != 0) {
        if (connection != nullptr) xcb_disconnect(connection);
        error = "cannot open the X display";
        return nullptr;
    }
    return std::unique_ptr<X11WindowSystem>(new X11WindowSystem(loop, connection, screenNumber));
}

X11WindowSystem::X11WindowSystem(EventLoop& loop, xcb_connection_t* connection, int screenNumber)
    : loop_(loop), connection_(connection) {
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection_));
    for (int i = 0; i < screenNumber && screens.rem > 0; ++i) xcb_screen_next(&screens);
    screen_ = screens.data;
    root_ = screen_->root;

    xcb_intern_atom_cookie_t* cookies = xcb_ewmh_init_atoms(connection_, &ewmh_);
    xcb_ewmh_init_atoms_replies(&ewmh_, cookies, nullptr);
    gtkFrameExtents_ = internAtom(connection_, "_GTK_FRAME_EXTENTS");
    wmChangeState_ = internAtom(connection_, "WM_CHANGE_STATE");
    symbols_ = xcb_key_symbols_alloc(connection_);
    masks_ = readModifierMasks(connection_, symbols_);

    // Key repeat then sends presses without releases between them, so a held chord is
    // told apart from one pressed again.
    Reply xkb(xcb_xkb_use_extension_reply(connection_, xcb_xkb_use_extension(connection_, 1, 0),
                                          nullptr));
    const xcb_query_extension_reply_t* xkbData = xcb_get_extension_data(connection_, &xcb_xkb_id);
    if (xkb && xkb->supported && xkbData != nullptr && xkbData->present) {
        const std::uint32_t flag = XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT;
        free(xcb_xkb_per_client_flags_reply(
            connection_,
            xcb_xkb_per_client_flags(connection_, XCB_XKB_ID_USE_CORE_KBD, flag, flag, 0, 0, 0),
            nullptr));
        // A client that speaks XKB no longer gets the core MappingNotify; it asks for the
        // keyboard's own notices of a new map or a new keyboard instead.
        xkbEventBase_ = xkbData->first_event;
        const std::uint16_t notices =
            XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
        xcb_xkb_select_events(connection_, XCB_XKB_ID_USE_CORE_KBD, notices, 0, notices, 0xff, 0xff,
                              nullptr);
        xkb_ = true;
    }

    const std::uint32_t rootEvents[] = {XCB_EVENT_MASK_PROPERTY_CHANGE |
                                        XCB_EVENT_MASK_STRUCTURE_NOTIFY};
    xcb_change_window_attributes(connection_, root_, XCB_CW_EVENT_MASK, rootEvents);
    const xcb_query_extension_reply_t* randr = xcb_get_extension_data(connection_, &xcb_randr_id);
    if (randr != nullptr && randr->present) {
        // Monitors came with RandR 1.5; the server answers a client by the version it
        // announced.
        Reply version(xcb_randr_query_version_reply(
            connection_, xcb_randr_query_version(connection_, 1, 5), nullptr));
        randr_ = version && (version->major_version > 1 || version->minor_version >= 5);
    }
    if (randr_) {
        randrEventBase_ = randr->first_event;
        xcb_randr_select_input(connection_, root_,
                               XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE |
                                   XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                                   XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
    }

    clock_ = xcb_generate_id(connection_);
    const std::uint32_t clockValues[] = {1, XCB_EVENT_MASK_PROPERTY_CHANGE};
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, clock_, root_, -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT,
                      XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, clockValues);

    overlays_ = std::make_unique<Overlays>(connection_, screen_);
    startupInfoBegin_ = internAtom(connection_, "_NET_STARTUP_INFO_BEGIN");
    startupInfo_ = internAtom(connection_, "_NET_STARTUP_INFO");
    launcher_ = std::make_unique<Launcher>(
        [this](const std::string& message) { announceStartup(message); });
    clientListChanged(false);

    loop_.watch(xcb_get_file_descriptor(connection_), [this] { readEvents(); });
    // Round trips made outside the X handler (a command from the socket, a timer) may
    // leave events in XCB's queue, where poll cannot see them.
    loop_.beforeWait([this] { readEvents(); });
}

X11WindowSystem::~X11WindowSystem() {
    loop_.beforeWait(nullptr);
    loop_.unwatch(xcb_get_file_descriptor(connection_));
    if (inotifyFd_ >= 0) {
        loop_.unwatch(inotifyFd_);
        ::close(inotifyFd_);
    }
    overlays_.reset();
    launcher_.reset();
    if (!lost_) {
        ungrabAll();
        if (keyboardGrabbed_) xcb_ungrab_keyboard(connection_, XCB_CURRENT_TIME);
        xcb_destroy_window(connection_, clock_);
        xcb_flush(connection_);
    }
    if (symbols_ != nullptr) xcb_key_symbols_free(symbols_);
    xcb_ewmh_connection_wipe(&ewmh_);
    xcb_disconnect(connection_);
}

void X11WindowSystem::setDesktopApplications(
    std::function<std::vector<DesktopApplication>()> reader) {
    readApplications_ = std::move(reader);
    applications_ = readApplications_ ? readApplications_() : std::vector<DesktopApplication>{};
}

// --- events ---------------------------------------------------------------------------------

void X11WindowSystem::readEvents() {
    if (lost_) return;
    while (xcb_generic_event_t* event = xcb_poll_for_event(connection_)) {
        handle(event);
        std::free(event);
        if (lost_) return;
    }
    if (xcb_connection_has_error(connection_) != 0) connectionLost();
}

void X11WindowSystem::connectionLost() {
    if (lost_) return;
    lost_ = true;
    loop_.unwatch(xcb_get_file_descriptor(connection_));
    if (events_ != nullptr) events_->windowSystemLost();
    loop_.quit();
}

void X11WindowSystem::handle(xcb_generic_event_t* event) {
    const std::uint8_t type = event->response_type & 0x7f;
    if (randr_ && (type == randrEventBase_ + XCB_RANDR_SCREEN_CHANGE_NOTIFY ||
                   type == randrEventBase_ + XCB_RANDR_NOTIFY)) {
        if (type == randrEventBase_ + XCB_RANDR_SCREEN_CHANGE_NOTIFY) {
            xcb_randr_screen_change_notify_event_t* change =
                reinterpret_cast<xcb_randr_screen_change_notify_event_t*>(event);
            screen_->width_in_pixels = change->width;
            screen_->height_in_pixels = change->height;
        }
        displaysMayHaveChanged();
        return;
    }
    if (xkb_ && type == xkbEventBase_) {
        // Every XKB event shares this number; the kind is in the byte after it.
        const std::uint8_t kind = reinterpret_cast<const std::uint8_t*>(event)[1];
        if (kind == XCB_XKB_MAP_NOTIFY || kind == XCB_XKB_NEW_KEYBOARD_NOTIFY) {
            // One change comes as several notices; the keys are read again once.
            if (!remapPending_) {
                remapPending_ = true;
                loop_.post([this] {
                    remapPending_ = false;
                    if (lost_) return;
                    xcb_key_symbols_free(symbols_);
                    symbols_ = xcb_key_symbols_alloc(connection_);
                    mappingChanged();
                });
            }
        }
        return;
    }
    switch (type) {
        case XCB_KEY_PRESS: handleKeyPress(*reinterpret_cast<xcb_key_press_event_t*>(event)); break;
        case XCB_KEY_RELEASE:
            handleKeyRelease(*reinterpret_cast<xcb_key_release_event_t*>(event));
            break;
        case XCB_PROPERTY_NOTIFY:
            handleProperty(*reinterpret_cast<xcb_property_notify_event_t*>(event));
            break;
        case XCB_MAPPING_NOTIFY: {
            auto* mapping = reinterpret_cast<xcb_mapping_notify_event_t*>(event);
            if (mapping->request == XCB_MAPPING_POINTER) break;
            xcb_refresh_keyboard_mapping(symbols_, mapping);
            mappingChanged();
            break;
        }
        case XCB_CONFIGURE_NOTIFY: {
            auto* configure = reinterpret_cast<xcb_configure_notify_event_t*>(event);
            if (configure->window == root_) {
                displaysMayHaveChanged();
                break;
            }
            auto found = tracked_.find(configure->window);
            if (found == tracked_.end() || !found->second.userWindow) break;
            if (auto frame = visibleFrame(configure->window); frame && events_ != nullptr) {
                events_->windowMoved(configure->window, *frame);
            }
            break;
        }
        case XCB_DESTROY_NOTIFY: {
            auto* destroy = reinterpret_cast<xcb_destroy_notify_event_t*>(event);
            auto found = tracked_.find(destroy->window);
            if (found == tracked_.end()) break;
            const bool user = found->second.userWindow;
            tracked_.erase(found);
            std::erase(clients_, destroy->window);
            if (user && events_ != nullptr) events_->windowVanished(destroy->window);
            break;
        }
        case XCB_EXPOSE: {
            auto* expose = reinterpret_cast<xcb_expose_event_t*>(event);
            if (expose->count == 0) overlays_->exposed(expose->window);
            break;
        }
        case 0: {
            // An error of an unchecked request: most often a window that went away between
            // our reading the list and acting on it, which is no fault of ours.
            break;
        }
        default: break;
    }
}

void X11WindowSystem::handleKeyPress(const xcb_key_press_event_t& event) {
    eventTime_ = event.time;
    const xcb_keysym_t keysym = xcb_key_symbols_get_keysym(symbols_, event.detail, 0);
    const bool isLeader =
        std::find(leaderCodes_.begin(), leaderCodes_.end(), event.detail) != leaderCodes_.end();
    if (keyboardGrabbed_ && !isLeader) {
        leaderDown_ = false;
        if (!isModifierKeysym(keysym) && events_ != nullptr) {
            KeyPress press;
            press.key = keyOfKeysym(keysym).value_or(HotkeyKey::named(""));
            const bool shifted = (event.state & XCB_MOD_MASK_SHIFT) != 0;
            press.text = keysymText(xcb_key_symbols_get_keysym(symbols_, event.detail, shifted));
            press.shift = shifted;
            press.ctrl = (event.state & XCB_MOD_MASK_CONTROL) != 0;
            press.opt = (event.state & masks_.alt) != 0;
            press.cmd = (event.state & masks_.super) != 0;
            if (!press.key.canonical().empty() || !press.text.empty()) events_->keyPressed(press);
        }
    } else if (isLeader) {
        // The state before this press: whether Caps Lock was on before the key toggled it.
        if (!leaderDown_) leaderWasLocked_ = (event.state & XCB_MOD_MASK_LOCK) != 0;
        leaderDown_ = true;
    } else {
        leaderDown_ = false;
        const std::uint16_t state = event.state & masks_.relevant();
        for (const Grab& grab : grabs_) {
            if (grab.keycode != event.detail || grab.modifiers != state) continue;
            if (heldChordKey_ == event.detail) break;  // key repeat
            heldChordKey_ = event.detail;
            // Copied: the handler may grab chords again and replace the list.
            const HotkeyChord chord = grab.chord;
            if (events_ != nullptr) events_->chordPressed(chord);
            break;
        }
    }
    eventTime_ = 0;
    xcb_flush(connection_);
}

void X11WindowSystem::handleKeyRelease(const xcb_key_release_event_t& event) {
    if (event.detail == heldChordKey_) heldChordKey_ = 0;
    const bool isLeader =
        std::find(leaderCodes_.begin(), leaderCodes_.end(), event.detail) != leaderCodes_.end();
    if (isLeader && leaderDown_) {
        leaderDown_ = false;
        // Tapped as the leader, the key must not also switch Caps Lock: its lock goes back
        // to what it was.
        if (xkb_) {
            xcb_xkb_latch_lock_state(connection_, XCB_XKB_ID_USE_CORE_KBD, XCB_MOD_MASK_LOCK,
                                     leaderWasLocked_ ? XCB_MOD_MASK_LOCK : 0, 0, 0, 0, 0, 0);
        }
        eventTime_ = event.time;
        if (events_ != nullptr) events_->leaderTapped();
        eventTime_ = 0;
        xcb_flush(connection_);
    }
}

void X11WindowSystem::handleProperty(const xcb_property_notify_event_t& event) {
    if (event.window == root_) {
        if (event.atom == ewmh_._NET_CLIENT_LIST) {
            // A burst of new windows changes the list once per window; it is read once,
            // after the events already queued.
            if (!clientListPending_) {
                clientListPending_ = true;
                loop_.post([this] { syncClientList(); });
            }
        } else if (event.atom == ewmh_._NET_ACTIVE_WINDOW) {
            // A window that has just appeared is often focused at once: it is made known
            // before the focus moves to it.
            syncClientList();
            active_.reset();
            if (events_ != nullptr) events_->focusChanged(focusedWindow());
        } else if (event.atom == ewmh_._NET_CURRENT_DESKTOP) {
            currentDesktop_.reset();
            refreshSoon();
        } else if (event.atom == ewmh_._NET_CLIENT_LIST_STACKING) {
            stacking_.reset();
            refreshSoon();
        } else if (event.atom == ewmh_._NET_WORKAREA) {
            displaysMayHaveChanged();
        }
        return;
    }
    auto found = tracked_.find(event.window);
    if (found == tracked_.end()) return;
    if (event.atom == ewmh_._NET_WM_STRUT_PARTIAL || event.atom == ewmh_._NET_WM_STRUT) {
        displaysMayHaveChanged();
    } else if (event.atom == ewmh_._NET_WM_STATE) {
        found->second.placementKnown = false;
    } else if (found->second.userWindow &&
               (event.atom == ewmh_._NET_FRAME_EXTENTS || event.atom == gtkFrameExtents_)) {
        found->second.placementKnown = false;
        if (auto frame = visibleFrame(event.window); frame && events_ != nullptr) {
            events_->windowMoved(event.window, *frame);
        }
    }
}

void X11WindowSystem::refreshSoon() {
    if (refreshPending_) return;
    refreshPending_ = true;
    loop_.post([this] {
        refreshPending_ = false;
        if (lost_) return;
        stacking();
        activeWindow();
        currentDesktop();
    });
}

std::uint32_t X11WindowSystem::currentDesktop() {
    if (!currentDesktop_) {
        Reply reply(xcb_get_property_reply(
            connection_,
            getProperty(connection_, root_, ewmh_._NET_CURRENT_DESKTOP, XCB_ATOM_CARDINAL),
            nullptr));
        const std::vector<std::uint32_t> values = cardinals(reply.value);
        // Without workspaces every window is on the one there is.
        currentDesktop_ = values.empty() ? 0xffffffffu : values.front();
    }
    return *currentDesktop_;
}

xcb_window_t X11WindowSystem::activeWindow() {
    if (!active_) {
        xcb_window_t active = 0;
        if (xcb_ewmh_get_active_window_reply(&ewmh_, xcb_ewmh_get_active_window(&ewmh_, 0), &active,
                                             nullptr) == 0) {
            active = 0;
        }
        active_ = active;
    }
    return *active_;
}

std::vector<xcb_window_t> X11WindowSystem::stacking() {
    if (!stacking_) stacking_ = clientList(ewmh_._NET_CLIENT_LIST_STACKING);
    return *stacking_;
}

void X11WindowSystem::displaysMayHaveChanged() {
    displays_.reset();
    // A monitor change comes as a screen, a CRTC and an output notice, and a new panel as
    // a client list and a work area change: the core hears of it once.
    if (displaysPending_) return;
    displaysPending_ = true;
    loop_.post([this] {
        displaysPending_ = false;
        if (!lost_ && events_ != nullptr) events_->displaysChanged();
    });
}

void X11WindowSystem::syncClientList() {
    if (!clientListPending_ || lost_) return;
    clientListPending_ = false;
    clientListChanged(true);
}

void X11WindowSystem::clientListChanged(bool report) {
    const std::vector<xcb_window_t> now = clientList(ewmh_._NET_CLIENT_LIST);
    // New against the list last read, not against what is described already: a window
    // that `windows` described first still has to be announced.
    std::vector<xcb_window_t> added;
    for (xcb_window_t id : now) {
        if (std::find(clients_.begin(), clients_.end(), id) == clients_.end()) added.push_back(id);
    }
    std::vector<xcb_window_t> removed;
    for (xcb_window_t id : clients_) {
        if (std::find(now.begin(), now.end(), id) == now.end()) removed.push_back(id);
    }
    clients_ = now;

    bool strutsChanged = false;
    for (xcb_window_t id : removed) {
        auto found = tracked_.find(id);
        if (found == tracked_.end()) continue;
        const bool user = found->second.userWindow;
        strutsChanged = strutsChanged || !user;
        tracked_.erase(found);
        if (user && report && events_ != nullptr) events_->windowVanished(id);
    }
    if (added.empty()) {
        if (strutsChanged) {
            displays_.reset();
            if (report) displaysMayHaveChanged();
        }
        return;
    }
    const std::uint32_t clientEvents[] = {XCB_EVENT_MASK_STRUCTURE_NOTIFY |
                                          XCB_EVENT_MASK_PROPERTY_CHANGE};
    for (xcb_window_t id : added) {
        xcb_change_window_attributes(connection_, id, XCB_CW_EVENT_MASK, clientEvents);
    }
    const std::vector<WindowInfo> described = describe(added, false);
    for (xcb_window_t id : added) {
        if (!tracked_.contains(id)) continue;  // gone already
        strutsChanged = strutsChanged || !tracked_[id].userWindow;
    }
    if (strutsChanged) displays_.reset();
    if (!report || events_ == nullptr) return;
    if (strutsChanged) displaysMayHaveChanged();
    for (const WindowInfo& window : described) {
        if (tracked_[static_cast<xcb_window_t>(window.id)].userWindow) {
            events_->windowAppeared(window);
        }
    }
}

void X11WindowSystem::mappingChanged() {
    masks_ = readModifierMasks(connection_, symbols_);
    // The same chords again: their keys may sit on other keycodes now.
    const std::vector<ChordGrabFailure> failures = grabChords(chords_);
    (void)failures;  // the core learns of them at its next reload; the keys still work
    grabLeader();
}

// --- reading the desktop ----------------------------------------------------------------------

std::vector<xcb_window_t> X11WindowSystem::clientList(xcb_atom_t property) {
    Reply reply(xcb_get_property_reply(
        connection_, getProperty(connection_, root_, property, XCB_ATOM_WINDOW), nullptr));
    const std::vector<std::uint32_t> values = cardinals(reply.value);
    return {values.begin(), values.end()};
}

std::vector<DisplayInfo> X11WindowSystem::displays() {
    if (displays_) return *displays_;
    std::vector<DisplayInfo> found;
    if (randr_) {
        Reply monitors(xcb_randr_get_monitors_reply(
            connection_, xcb_randr_get_monitors(connection_, root_, 1), nullptr));
        if (monitors) {
            for (auto it = xcb_randr_get_monitors_monitors_iterator(monitors.value); it.rem > 0;
                 xcb_randr_monitor_info_next(&it)) {
                const xcb_randr_monitor_info_t& m = *it.data;
                const Frame frame{static_cast<double>(m.x), static_cast<double>(m.y),
                                  static_cast<double>(m.width), static_cast<double>(m.height)};
                const DisplayInfo display{frame, frame};
                if (m.primary) {
                    found.insert(found.begin(), display);
                } else {
                    found.push_back(display);
                }
            }
        }
    }
    const double screenWidth = screen_->width_in_pixels;
    const double screenHeight = screen_->height_in_pixels;
    if (found.empty()) {
        const Frame whole{0, 0, screenWidth, screenHeight};
        found.push_back({whole, whole});
    }

    // Struts reserve room from the edges of the whole screen (the bounding box of every
    // monitor), each over a span of the other axis; a monitor loses what falls on it.
    std::vector<xcb_get_property_cookie_t> partial, plain;
    for (xcb_window_t id : clients_) {
        partial.push_back(getProperty(connection_, id, ewmh_._NET_WM_STRUT_PARTIAL));
        plain.push_back(getProperty(connection_, id, ewmh_._NET_WM_STRUT));
    }
    for (std::size_t i = 0; i < clients_.size(); ++i) {
        Reply p(xcb_get_property_reply(connection_, partial[i], nullptr));
        Reply s(xcb_get_property_reply(connection_, plain[i], nullptr));
        std::vector<std::uint32_t> strut = cardinals(p.value);
        if (strut.size() < 12) {
            const std::vector<std::uint32_t> four = cardinals(s.value);
            if (four.size() < 4) continue;
            const auto w = static_cast<std::uint32_t>(screenWidth);
            const auto h = static_cast<std::uint32_t>(screenHeight);
            strut = {four[0], four[1], four[2], four[3], 0, h, 0, h, 0, w, 0, w};
        }
        const double left = strut[0], right = strut[1], top = strut[2], bottom = strut[3];
        for (DisplayInfo& display : found) {
            Frame& visible = display.visibleFrame;
            const Frame& m = display.frame;
            // Spans are inclusive pixel ranges.
            const auto spans = [](double start, double end, double from, double to) {
                return start < to && end + 1 > from;
            };
            double minX = visible.x, minY = visible.y, maxX = visible.maxX(), maxY = visible.maxY();
            if (left > 0 && spans(strut[4], strut[5], m.y, m.maxY()) && left > m.x) {
                minX = std::max(minX, std::min(left, m.maxX()));
            }
            if (right > 0 && spans(strut[6], strut[7], m.y, m.maxY()) &&
                screenWidth - right < m.maxX()) {
                maxX = std::min(maxX, std::max(screenWidth - right, m.x));
            }
            if (top > 0 && spans(strut[8], strut[9], m.x, m.maxX()) && top > m.y) {
                minY = std::max(minY, std::min(top, m.maxY()));
            }
            if (bottom > 0 && spans(strut[10], strut[11], m.x, m.maxX()) &&
                screenHeight - bottom < m.maxY()) {
                maxY = std::min(maxY, std::max(screenHeight - bottom, m.y));
            }
            visible = {minX, minY, std::max(1.0, maxX - minX), std::max(1.0, maxY - minY)};
        }
    }
    displays_ = found;
    return found;
}

std::string X11WindowSystem::identityFor(const WindowClass& windowClass,
                                         std::int64_t processId) const {
    if (processId != 0) {
        if (auto found = launched_.find(processId); found != launched_.end()) return found->second;
    }
    return windowIdentity(windowClass, applications_).appIdentity;
}

std::vector<WindowInfo> X11WindowSystem::describe(const std::vector<xcb_window_t>& ids,
                                                  bool usersOnly) {
    // Every request for every window goes out before the first reply is read: one round
    // trip for the lot, however many windows there are.
    struct Pending {
        xcb_get_property_cookie_t type, state, windowClass, name, legacyName, pid, frameExtents,
            gtkExtents, desktop;
        xcb_get_geometry_cookie_t geometry;
        xcb_translate_coordinates_cookie_t origin;
        bool known;
    };
    const std::uint32_t current = currentDesktop();
    std::vector<Pending> pending;
    pending.reserve(ids.size());
    for (xcb_window_t id : ids) {
        const bool known = tracked_.contains(id);
        Pending p{};
        p.known = known;
        if (!known) {
            p.type = getProperty(connection_, id, ewmh_._NET_WM_WINDOW_TYPE, XCB_ATOM_ATOM);
            p.windowClass = getProperty(connection_, id, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING);
            p.pid = getProperty(connection_, id, ewmh_._NET_WM_PID, XCB_ATOM_CARDINAL);
        }
        p.state = getProperty(connection_, id, ewmh_._NET_WM_STATE, XCB_ATOM_ATOM);
        p.name = getProperty(connection_, id, ewmh_._NET_WM_NAME, ewmh_.UTF8_STRING);
        p.legacyName = getProperty(connection_, id, XCB_ATOM_WM_NAME);
        p.frameExtents = getProperty(connection_, id, ewmh_._NET_FRAME_EXTENTS, XCB_ATOM_CARDINAL);
        p.gtkExtents = getProperty(connection_, id, gtkFrameExtents_, XCB_ATOM_CARDINAL);
        p.desktop = getProperty(connection_, id, ewmh_._NET_WM_DESKTOP, XCB_ATOM_CARDINAL);
        p.geometry = xcb_get_geometry(connection_, id);
        p.origin = xcb_translate_coordinates(connection_, id, root_, 0, 0);
        pending.push_back(p);
    }
    std::vector<WindowInfo> described;
    for (std::size_t i = 0; i < ids.size(); ++i) {
        const xcb_window_t id = ids[i];
        const Pending& p = pending[i];
        Tracked tracked;
        if (p.known) {
            tracked = tracked_[id];
        } else {
            Reply type(xcb_get_property_reply(connection_, p.type, nullptr));
            Reply windowClass(xcb_get_property_reply(connection_, p.windowClass, nullptr));
            Reply pid(xcb_get_property_reply(connection_, p.pid, nullptr));
            const std::vector<std::uint32_t> types = cardinals(type.value);
            tracked.userWindow = !contains(types, ewmh_._NET_WM_WINDOW_TYPE_DOCK) &&
                                 !contains(types, ewmh_._NET_WM_WINDOW_TYPE_DESKTOP) &&
                                 !contains(types, ewmh_._NET_WM_WINDOW_TYPE_TOOLBAR) &&
                                 !contains(types, ewmh_._NET_WM_WINDOW_TYPE_MENU) &&
                                 !contains(types, ewmh_._NET_WM_WINDOW_TYPE_SPLASH) &&
                                 !contains(types, ewmh_._NET_WM_WINDOW_TYPE_NOTIFICATION);
            const std::string classText = propertyText(windowClass.value);
            const std::size_t split = classText.find('\0');
            tracked.windowClass.instance = classText.substr(0, split);
            if (split != std::string::npos) {
                tracked.windowClass.className = classText.substr(split + 1);
                const std::size_t end = tracked.windowClass.className.find('\0');
                if (end != std::string::npos) tracked.windowClass.className.resize(end);
            }
            const std::vector<std::uint32_t> pids = cardinals(pid.value);
            tracked.processId = pids.empty() ? 0 : pids.front();
        }
        Reply state(xcb_get_property_reply(connection_, p.state, nullptr));
        Reply name(xcb_get_property_reply(connection_, p.name, nullptr));
        Reply legacyName(xcb_get_property_reply(connection_, p.legacyName, nullptr));
        Reply frameExtents(xcb_get_property_reply(connection_, p.frameExtents, nullptr));
        Reply gtkExtents(xcb_get_property_reply(connection_, p.gtkExtents, nullptr));
        Reply desktop(xcb_get_property_reply(connection_, p.desktop, nullptr));
        Reply geometry(xcb_get_geometry_reply(connection_, p.geometry, nullptr));
        Reply origin(xcb_translate_coordinates_reply(connection_, p.origin, nullptr));
        if (!geometry || !origin) {
            tracked_.erase(id);  // gone between the list and now
            continue;
        }
        const std::vector<std::uint32_t> states = cardinals(state.value);
        if (contains(states, ewmh_._NET_WM_STATE_SKIP_TASKBAR)) tracked.userWindow = false;
        const Extents frame = extentsFrom(frameExtents.value);
        const Extents shadow = extentsFrom(gtkExtents.value);
        tracked.placementKnown = true;
        tracked.maximized = contains(states, ewmh_._NET_WM_STATE_MAXIMIZED_VERT) ||
                            contains(states, ewmh_._NET_WM_STATE_MAXIMIZED_HORZ);
        tracked.decorations = frame;
        tracked.shadow = shadow;
        tracked_[id] = tracked;
        if (usersOnly && !tracked.userWindow) continue;

        WindowInfo info;
        info.id = id;
        info.appIdentity = identityFor(tracked.windowClass, tracked.processId);
        info.appAliases = windowIdentity(tracked.windowClass, {}).appAliases;
        info.processId = tracked.processId;
        info.title = propertyText(name.value);
        if (info.title.empty()) info.title = propertyText(legacyName.value);
        // A window on another workspace is as out of sight as a minimised one.
        const std::vector<std::uint32_t> onDesktop = cardinals(desktop.value);
        const bool elsewhere = current != 0xffffffffu && !onDesktop.empty() &&
                               onDesktop.front() != 0xffffffffu && onDesktop.front() != current;
        info.hidden = contains(states, ewmh_._NET_WM_STATE_HIDDEN) || elsewhere;
        const double left = origin->dst_x, top = origin->dst_y;
        info.frame = {left - static_cast<double>(frame.left - shadow.left),
                      top - static_cast<double>(frame.top - shadow.top),
                      geometry->width + static_cast<double>(frame.left + frame.right - shadow.left -
                                                            shadow.right),
                      geometry->height + static_cast<double>(frame.top + frame.bottom - shadow.top -
                                                             shadow.bottom)};
        described.push_back(std::move(info));
    }
    return described;
}

std::vector<WindowInfo> X11WindowSystem::windows() {
    std::vector<xcb_window_t> order = stacking();
    if (order.empty()) order = clients_;
    // The stacking list runs bottom to top; the core wants the front-most first.
    std::reverse(order.begin(), order.end());
    return describe(order, true);
}

std::optional<Frame> X11WindowSystem::visibleFrame(xcb_window_t window) {
    std::vector<WindowInfo> one = describe({window}, false);
    if (one.empty()) return std::nullopt;
    return one.front().frame;
}

std::optional<WindowId> X11WindowSystem::focusedWindow() {
    const xcb_window_t active = activeWindow();
    if (active == 0) return std::nullopt;
    // A window focused as it appears may not be described yet; it is, quietly (its
    // appearance is announced when the client list is read).
    if (!tracked_.contains(active)) describe({active}, false);
    auto found = tracked_.find(active);
    if (found == tracked_.end() || !found->second.userWindow) return std::nullopt;
    return active;
}

// --- acting on windows ----------------------------------------------------------------------

void X11WindowSystem::sendRootMessage(xcb_window_t window, xcb_atom_t type,
                                      std::array<std::uint32_t, 5> data) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = type;
    std::copy(data.begin(), data.end(), message.data.data32);
    xcb_send_event(connection_, 0, root_,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&message));
}

bool X11WindowSystem::setFrame(WindowId id, const Frame& frame, AxisWrite) {
    const auto window = static_cast<xcb_window_t>(id);
    if (lost_ || window != id) return false;
    // A window read since its last change is moved from what was read; any other is read
    // first (which also tells whether it still exists).
    auto found = tracked_.find(window);
    if (found == tracked_.end() || !found->second.placementKnown) {
        describe({window}, false);
        found = tracked_.find(window);
        if (found == tracked_.end()) return false;
    }
    const Tracked& placement = found->second;

    // A maximized window ignores a new size in most window managers; it is restored first,
    // in the same burst of messages, which the window manager handles in order.
    if (placement.maximized) {
        sendRootMessage(window, ewmh_._NET_WM_STATE,
                        {XCB_EWMH_WM_STATE_REMOVE, ewmh_._NET_WM_STATE_MAXIMIZED_VERT,
                         ewmh_._NET_WM_STATE_MAXIMIZED_HORZ, 2, 0});
    }

    // The visible frame less the decorations the window manager draws, plus the shadows
    // the client draws itself, is the client window. With north-west gravity the position
    // is the outer frame's, which is the visible frame's corner less the shadow; the
    // window manager then keeps that corner where a size hint changes the size.
    const Extents& decorations = placement.decorations;
    const Extents& shadow = placement.shadow;
    const PixelRect target = pixels(frame);
    const auto x = static_cast<std::int64_t>(target.x) - shadow.left;
    const auto y = static_cast<std::int64_t>(target.y) - shadow.top;
    const std::int64_t width = std::max<std::int64_t>(
        1, target.width - decorations.left - decorations.right + shadow.left + shadow.right);
    const std::int64_t height = std::max<std::int64_t>(
        1, target.height - decorations.top - decorations.bottom + shadow.top + shadow.bottom);
    const std::uint32_t flags = XCB_GRAVITY_NORTH_WEST | (0xfu << 8) | (2u << 12);
    sendRootMessage(window, ewmh_._NET_MOVERESIZE_WINDOW,
                    {flags, static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y),
                     static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)});
    xcb_flush(connection_);
    return true;
}

xcb_timestamp_t X11WindowSystem::userTime() {
    if (eventTime_ != 0) return eventTime_;
    // No event to take the time from (a command from the socket, a timer): a zero-length
    // append to a property of our own window makes the server report its current time.
    xcb_change_property(connection_, XCB_PROP_MODE_APPEND, clock_, XCB_ATOM_WM_NAME,
                        XCB_ATOM_STRING, 8, 0, nullptr);
    xcb_flush(connection_);
    std::vector<xcb_generic_event_t*> other;
    xcb_timestamp_t time = XCB_CURRENT_TIME;
    while (xcb_generic_event_t* event = xcb_wait_for_event(connection_)) {
        if ((event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY &&
            reinterpret_cast<xcb_property_notify_event_t*>(event)->window == clock_) {
            time = reinterpret_cast<xcb_property_notify_event_t*>(event)->time;
            std::free(event);
            break;
        }
        other.push_back(event);
    }
    // Whatever arrived meanwhile is handled after the current work, in order.
    for (xcb_generic_event_t* event : other) {
        loop_.post([this, event] {
            if (!lost_) handle(event);
            std::free(event);
        });
    }
    return time;
}

bool X11WindowSystem::focus(WindowId id) {
    const auto window = static_cast<xcb_window_t>(id);
    if (lost_ || window != id) return false;
    if (!tracked_.contains(window)) {
        Reply geometry(
            xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window), nullptr));
        if (!geometry) return false;
    }
    const xcb_window_t active = activeWindow();
    // As a pager asks: source 2 and the time of the user's action, so that the window
    // manager's focus-stealing prevention lets it through.
    sendRootMessage(window, ewmh_._NET_ACTIVE_WINDOW, {2, userTime(), active, 0, 0});
    xcb_flush(connection_);
    return true;
}

bool X11WindowSystem::hideApp(const std::string& appIdentity) {
    bool any = false;
    for (const WindowInfo& window : windows()) {
        bool ours = window.appIdentity == appIdentity;
        for (const std::string& alias : window.appAliases) {
            ours = ours || text::lowercased(alias) == text::lowercased(appIdentity);
        }
        if (!ours || window.hidden) continue;
        sendRootMessage(static_cast<xcb_window_t>(window.id), wmChangeState_,
                        {XCB_ICCCM_WM_STATE_ICONIC, 0, 0, 0, 0});
        any = true;
    }
    xcb_flush(connection_);
    return any;
}

void X11WindowSystem::announceStartup(const std::string& message) {
    // The startup-notification protocol: the text, with its terminating NUL, in 20-byte
    // client messages to the root window, the first of type _NET_STARTUP_INFO_BEGIN.
    const std::string text = message + '\0';
    for (std::size_t at = 0; at < text.size(); at += 20) {
        xcb_client_message_event_t chunk{};
        chunk.response_type = XCB_CLIENT_MESSAGE;
        chunk.format = 8;
        chunk.window = clock_;
        chunk.type = at == 0 ? startupInfoBegin_ : startupInfo_;
        text.copy(reinterpret_cast<char*>(chunk.data.data8), 20, at);
        xcb_send_event(connection_, 0, root_, XCB_EVENT_MASK_PROPERTY_CHANGE,
                       reinterpret_cast<const char*>(&chunk));
    }
    xcb_flush(connection_);
}

bool X11WindowSystem::launch(const LaunchRequest& request, std::string& error) {
    if (readApplications_) applications_ = readApplications_();
    const std::optional<std::int64_t> pid = launcher_->launch(request, userTime(), error);
    if (!pid) return false;
    if (*pid > 0) {
        launched_[*pid] = request.appIdentity;
        // Only recent launches matter; process ids mostly grow, so the smallest go first.
        while (launched_.size() > 64) launched_.erase(launched_.begin());
    }
    return true;
}

// --- keys ---------------------------------------------------------------------------------------

void X11WindowSystem::ungrabAll() {
    for (const Grab& grab : grabs_) {
        for (std::uint16_t locks : masks_.lockCombinations()) {
            xcb_ungrab_key(connection_, grab.keycode, root_, grab.modifiers | locks);
        }
    }
    grabs_.clear();
    for (xcb_keycode_t code : leaderCodes_) {
        xcb_ungrab_key(connection_, code, root_, XCB_MOD_MASK_ANY);
    }
    leaderCodes_.clear();
}

std::vector<ChordGrabFailure> X11WindowSystem::grabChords(const std::vector<HotkeyChord>& chords) {
    if (lost_) return {};
    // Everything is released and taken again: the mapping may have moved keys too.
    for (const Grab& grab : grabs_) {
        for (std::uint16_t locks : masks_.lockCombinations()) {
            xcb_ungrab_key(connection_, grab.keycode, root_, grab.modifiers | locks);
        }
    }
    grabs_.clear();
    chords_ = chords;

    struct Attempt {
        std::size_t chord;
        Grab grab;
        std::vector<xcb_void_cookie_t> cookies;
    };
    std::vector<Attempt> attempts;
    std::vector<ChordGrabFailure> failures;
    const std::vector<std::uint16_t> locks = masks_.lockCombinations();
    for (std::size_t i = 0; i < chords.size(); ++i) {
        const HotkeyChord& chord = chords[i];
        const std::optional<xcb_keysym_t> keysym = keysymOf(chord.key);
        xcb_keycode_t* codes = keysym ? xcb_key_symbols_get_keycode(symbols_, *keysym) : nullptr;
        if (codes == nullptr || codes[0] == XCB_NO_SYMBOL) {
            std::free(codes);
            failures.push_back({chord, "no such key on this keyboard"});
            continue;
        }
        const std::uint16_t modifiers = masks_.chordMask(chord);
        for (xcb_keycode_t* code = codes; *code != XCB_NO_SYMBOL; ++code) {
            Attempt attempt{i, Grab{chord, *code, modifiers}, {}};
            for (std::uint16_t lock : locks) {
                attempt.cookies.push_back(
                    xcb_grab_key_checked(connection_, 0, root_, modifiers | lock, *code,
                                         XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
            }
            attempts.push_back(std::move(attempt));
        }
        std::free(codes);
    }
    // A chord is ours only when every lock combination of every keycode is: a chord that
    // works only while Num Lock is off would be a puzzle to the user.
    std::vector<bool> refused(chords.size(), false);
    for (Attempt& attempt : attempts) {
        for (xcb_void_cookie_t cookie : attempt.cookies) {
            if (xcb_generic_error_t* failure = xcb_request_check(connection_, cookie)) {
                refused[attempt.chord] = true;
                std::free(failure);
            }
        }
    }
    for (const Attempt& attempt : attempts) {
        if (refused[attempt.chord]) {
            for (std::uint16_t lock : locks) {
                xcb_ungrab_key(connection_, attempt.grab.keycode, root_,
                               attempt.grab.modifiers | lock);
            }
        } else {
            grabs_.push_back(attempt.grab);
        }
    }
    for (std::size_t i = 0; i < chords.size(); ++i) {
        if (refused[i]) failures.push_back({chords[i], "held by another program"});
    }
    xcb_flush(connection_);
    return failures;
}

void X11WindowSystem::grabLeader() {
    for (xcb_keycode_t code : leaderCodes_) {
        xcb_ungrab_key(connection_, code, root_, XCB_MOD_MASK_ANY);
    }
    leaderCodes_.clear();
    if (!leaderKey_) return;
    const std::optional<xcb_keysym_t> keysym = keysymOf(*leaderKey_);
    if (!keysym) return;
    xcb_keycode_t* codes = xcb_key_symbols_get_keycode(symbols_, *keysym);
    if (codes == nullptr) return;
    for (xcb_keycode_t* code = codes; *code != XCB_NO_SYMBOL; ++code) {
        xcb_generic_error_t* failure = xcb_request_check(
            connection_, xcb_grab_key_checked(connection_, 0, root_, XCB_MOD_MASK_ANY, *code,
                                              XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        if (failure == nullptr) {
            leaderCodes_.push_back(*code);
        } else {
            std::free(failure);
        }
    }
    std::free(codes);
}

bool X11WindowSystem::watchLeaderKey(const std::optional<HotkeyKey>& key) {
    if (lost_) return false;
    leaderKey_ = key;
    grabLeader();
    xcb_flush(connection_);
    return !key || !leaderCodes_.empty();
}

bool X11WindowSystem::grabKeyboard() {
    if (lost_) return false;
    if (keyboardGrabbed_) return true;
    // While the chord that opens tile mode is still held, the passive grab of its key is
    // ours and this succeeds at once; another program's grab (a menu closing, a key still
    // held for someone else) usually ends within moments, so a few tries are worth it.
    for (int attempt = 0; attempt < 20; ++attempt) {
        Reply reply(
            xcb_grab_keyboard_reply(connection_,
                                    xcb_grab_keyboard(connection_, 0, root_, XCB_CURRENT_TIME,
                                                      XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
                                    nullptr));
        if (reply && reply->status == XCB_GRAB_STATUS_SUCCESS) {
            keyboardGrabbed_ = true;
            return true;
        }
        if (!reply) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(15));
    }
    return false;
}

void X11WindowSystem::releaseKeyboard() {
    if (!keyboardGrabbed_ || lost_) return;
    keyboardGrabbed_ = false;
    xcb_ungrab_keyboard(connection_, XCB_CURRENT_TIME);
    xcb_flush(connection_);
}

// --- our own windows ----------------------------------------------------------------------------

void X11WindowSystem::showTilePanel(const TilePanelContent& content) {
    if (!lost_) overlays_->showPanel(content);
}
void X11WindowSystem::hideTilePanel() {
    if (!lost_) overlays_->hidePanel();
}
NoticeSize X11WindowSystem::noticeSize(const std::string& text) {
    return overlays_->noticeSize(text);
}
void X11WindowSystem::showNotice(const std::string& text, const Frame& frame) {
    if (!lost_) overlays_->showNotice(text, frame);
}
void X11WindowSystem::hideNotice() {
    if (!lost_) overlays_->hideNotice();
}
void X11WindowSystem::showFocusOutline(const Frame& frame) {
    if (!lost_) overlays_->showOutline(frame);
}
void X11WindowSystem::hideFocusOutline() {
    if (!lost_) overlays_->hideOutline();
}

// --- the configuration file ---------------------------------------------------------------------

void X11WindowSystem::watchConfiguration(const std::string& path) {
    if (inotifyFd_ < 0) {
        inotifyFd_ = ::inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
        if (inotifyFd_ < 0) return;
        loop_.watch(inotifyFd_, [this] { configurationEvents(); });
    }
    const std::size_t slash = path.rfind('/');
    configFolder_ =
        slash == std::string::npos ? "." : path.substr(0, std::max<std::size_t>(slash, 1));
    configName_ = slash == std::string::npos ? path : path.substr(slash + 1);
    armConfigurationWatch();
}

void X11WindowSystem::armConfigurationWatch() {
    // Bounded: each pass finds the folder, or a folder above it, existing.
    for (int pass = 0; pass < 16; ++pass) {
        if (watchFolder_ >= 0) ::inotify_rm_watch(inotifyFd_, watchFolder_);
        if (watchParent_ >= 0) ::inotify_rm_watch(inotifyFd_, watchParent_);
        watchFolder_ = watchParent_ = -1;
        // The file is usually replaced by a rename, which a watch on the file itself would
        // lose; the folder sees every way the file can change.
        watchFolder_ =
            ::inotify_add_watch(inotifyFd_, configFolder_.c_str(),
                                IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_CREATE |
                                    IN_DELETE | IN_DELETE_SELF | IN_MOVE_SELF);
        if (watchFolder_ >= 0) return;
        // A folder that does not exist yet (a first run has no ~/.config/halyward, perhaps
        // no ~/.config) is waited for in the nearest folder above it that does.
        std::string above = configFolder_;
        while (watchParent_ < 0 && above != "/") {
            const std::size_t slash = above.rfind('/');
            if (slash == std::string::npos) return;
            above = slash == 0 ? "/" : above.substr(0, slash);
            watchParent_ = ::inotify_add_watch(inotifyFd_, above.c_str(), IN_CREATE | IN_MOVED_TO);
        }
        // A folder made below the watched one between the look and the watch would go
        // unseen: look again when the next folder down exists by now.
        const std::size_t next = configFolder_.find('/', above == "/" ? 1 : above.size() + 1);
        const std::string below = configFolder_.substr(0, next);
        if (watchParent_ < 0 || ::access(below.c_str(), F_OK) != 0) return;
    }
}

void X11WindowSystem::configurationEvents() {
    alignas(inotify_event) char buffer[4096];
    bool changed = false;
    bool rearm = false;
    ssize_t length;
    while ((length = ::read(inotifyFd_, buffer, sizeof buffer)) > 0) {
        for (char* at = buffer; at < buffer + length;) {
            const auto* event = reinterpret_cast<const inotify_event*>(at);
            const std::string name = event->len > 0 ? event->name : "";
            if (event->wd == watchFolder_) {
                if (name == configName_) changed = true;
                // The folder itself went away or moved: wait for it again.
                if ((event->mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED)) != 0) {
                    rearm = true;
                    changed = true;
                }
            }
            if (event->wd == watchParent_) rearm = true;
            at += sizeof(inotify_event) + event->len;
        }
    }
    if (rearm) {
        const bool hadFolder = watchFolder_ >= 0;
        armConfigurationWatch();
        // The folder may have come with the file already in it.
        if (!hadFolder && watchFolder_ >= 0) changed = true;
    }
    if (changed && events_ != nullptr) events_->configurationChanged();
}

}  // namespace halyward::x11
