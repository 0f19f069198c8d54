#pragma once

#include <QWindow>
#include <cstdint>

// What a window of ours asks of X11 beyond what Qt knows. Without X11 each does nothing and answers
// no. A window that has not been shown yet is made by the call.
namespace velmora::x11 {

// Names the window's layer, by which the program orders what covers what (property _VELMORA_LAYER).
void setLayer(QWindow& window, uint32_t layer);
// Brought to the front with the focus as if the user had chosen it in a task bar, since window
// managers keep a window that only asks from taking the focus.
void activate(QWindow& window);
// Gives the window, which must be on screen and none of the window manager's, the focus now. A
// request that names the time of our last event would lose to whoever took the focus since.
void takeFocus(QWindow& window);
// Neither in the task bar nor in the switcher.
void setSkippingTaskBar(QWindow& window, bool skips);
// Whether windows may be seen through.
bool hasCompositor();
// On every workspace.
void setOnAllDesktops(QWindow& window);

}  // namespace velmora::x11
