// Coordinate line recognition: atoms, translation vectors and raw records.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "text/lines.hpp"
#include "vesk/input/mopac/document.hpp"

namespace vesk::input::mopac::detail {

/// Reads the lines behind the comment line into `document`: records up to the
/// first blank line, that line and all behind it into trailing_lines.
/// Returns the number of Raw records made.
std::uint64_t read_coordinate_section(LineCursor& lines, MopacInput& document);

/// Fills `record` from the tokens of one line: 4 tokens (element x y z) or
/// 7 (element x fx y fy z fz). False when the line is no such record; the
/// record then holds what was read before the failure.
bool parse_coordinate_tokens(const std::string_view* tokens, std::size_t count, CoordinateRecord& record);

}  // namespace vesk::input::mopac::detail
