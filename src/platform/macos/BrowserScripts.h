#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ports/BrowserControl.h"

namespace velmora {

// The AppleScript texts by which browsers are read and redirected, and the report that they give.
// Pure functions; lines end with a line feed, the last one without.

// Reports one line for each window of the browsers that is not minimised. Five fields separated by
// tabs: the browser's position in the list from 0, the window's id, its index from 1, its bounds as
// "left top right bottom" (empty for a browser that reports none) and the address of its shown tab.
// Browsers that don't run, and browsers and windows that fail, give no lines; each browser has
// three seconds.
std::string readScript(const std::vector<Browser>& browsers);
// Gives the address of the tab that the browser's front window shows.
std::string frontWindowScript(const Browser& browser);
// Sets the address of the tab that the window of `tab.id` shows; with an empty id, of the front
// window. Does nothing when the browser doesn't run or has no such window. A quote can't end the
// script's own texts: it is dropped from the id and becomes %22 in the address.
std::string sendScript(const WindowTab& tab, const Browser& browser, std::string_view address);
// Reads the report of readScript() for the same browsers. Lines that are malformed are dropped one
// by one; bounds that are not four numbers are absent.
TabReport parseTabs(std::string_view report, const std::vector<Browser>& browsers);

}  // namespace velmora
