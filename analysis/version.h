#pragma once

namespace ovanlys {

inline constexpr int kVersion = 100;  // 100 * major + minor

}  // namespace ovanlys
