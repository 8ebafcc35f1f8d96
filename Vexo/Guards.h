#pragma once

namespace Vexo {

/**
 * Whether eye catchers are looked at, traces can be switched on and allocations are counted. Always
 * so, but in one build that nothing uses: it tells how many instructions these three cost.
 */
#ifdef VEXO_WITHOUT_GUARDS
inline constexpr bool guardsOn = false;
#else
inline constexpr bool guardsOn = true;
#endif

}  // namespace Vexo
