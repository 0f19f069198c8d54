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
// Whether there is an X server at all. Where there is none nothing can be held.
bool isThere();
// Takes every key, or every movement and click, for a window that is on screen, until it is not any
// more; clicks in other windows of ours go to these. False while somebody else has them.
bool grabKeyboard(QWindow& window);
bool grabPointer(QWindow& window);
// Whether nobody else has taken all keys.
bool isKeyboardFree();
// The window of any program that has the focus now; 0 when there is none.
uint32_t focusedWindow();
// Gives it to that one; nothing happens when it is not on screen any more.
void giveFocus(uint32_t window);
// Neither in the task bar nor in the switcher.
void setSkippingTaskBar(QWindow& window, bool skips);
// Whether windows may be seen through.
bool hasCompositor();
// On every workspace.
void setOnAllDesktops(QWindow& window);

}  // namespace velmora::x11
