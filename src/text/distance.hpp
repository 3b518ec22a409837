// How far one word is from another, for "did you mean": the edits (insert,
// delete, replace a byte, or swap two neighbours) that turn one into the
// other. Used for MOPAC keywords and for the tool's options alike.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

namespace vesk::input::mopac::detail {

/// The optimal-string-alignment distance of `a` and `b`: "CHRAGE" and
/// "CHARGE" are 1 apart, "PART" and "BAR" 2. Three rows of b.size() + 1.
inline std::size_t edit_distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> before(b.size() + 1), previous(b.size() + 1), current(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) previous[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        current[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            current[j] = std::min({previous[j] + 1, current[j - 1] + 1, previous[j - 1] + (a[i - 1] != b[j - 1])});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                current[j] = std::min(current[j], before[j - 2] + 1);
            }
        }
        std::swap(before, previous);
        std::swap(previous, current);
    }
    return previous[b.size()];
}

}  // namespace vesk::input::mopac::detail
