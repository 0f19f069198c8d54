#pragma once

namespace velmora {

// Whether a screen locker has the screen, or somebody has asked for one, which then needs the
// keyboard and the pointer for itself.
enum class ScreenLock { none, asked, locked };

}  // namespace velmora
