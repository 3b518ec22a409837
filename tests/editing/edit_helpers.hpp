// Shared fixtures of the editing tests: an editor over given keyword lines.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "vesk/input/mopac/editor.hpp"

namespace vesk::input::mopac::test_support {

using Lines = std::vector<std::string>;
using Edit = std::function<void(InputEditor&)>;

inline InputEditor editor_with(Lines keyword_lines) {
    MopacInput input;
    input.keyword_lines = std::move(keyword_lines);
    input.title = "title";
    return InputEditor(std::move(input));
}

/// The keyword lines after `edit` on a fresh editor over `start`.
inline Lines lines_after(const Lines& start, const Edit& edit) {
    InputEditor editor = editor_with(start);
    edit(editor);
    return editor.input().keyword_lines;
}

}  // namespace vesk::input::mopac::test_support
