#pragma once
// The app's own small windows: the tile-mode panel, the notice and the focus outline.
// Each is a borderless, non-activating panel that floats above other apps' windows and
// never takes the focus; the outline lets clicks through to the window it rings.

#include "halyward/app/window_system.hpp"

#include <string>

@class NSPanel;

namespace halyward::mac {

class Overlays {
public:
    Overlays();
    ~Overlays();
    Overlays(const Overlays&) = delete;
    Overlays& operator=(const Overlays&) = delete;

    void showPanel(const TilePanelContent& content);
    void hidePanel();
    NoticeSize noticeSize(const std::string& text);
    void showNotice(const std::string& text, const Frame& frame);
    void hideNotice();
    void showOutline(const Frame& frame);
    void hideOutline();

private:
    NSPanel* panel_ = nil;
    NSPanel* notice_ = nil;
    NSPanel* outline_ = nil;
};

}  // namespace halyward::mac
