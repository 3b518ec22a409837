// InputEditor: the constructor, the read side, title, comment and keyword lines.
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "editing/keyword_layout.hpp"
#include "vesk/input/mopac/editor.hpp"

namespace vesk::input::mopac {

InputEditor::InputEditor(MopacInput input) : document(std::move(input)) {}

std::vector<std::string> InputEditor::keywords() const { return document.keyword_tokens(); }

bool InputEditor::has_keyword(std::string_view name) const { return document.has_keyword(name); }

std::optional<std::string> InputEditor::keyword_value(std::string_view name) const {
    return document.keyword_value(name);
}

std::string InputEditor::to_string() const { return document.to_string(); }

void InputEditor::write_file(const std::string& path) const { document.write_file(path); }

void InputEditor::set_title(std::string title) { document.title = std::move(title); }

void InputEditor::set_comment(std::string comment) { document.comment = std::move(comment); }

// Every keyword edit ends here. The new lines are complete before the old
// ones go, so the document's own keyword_lines may be passed as `keywords`.
void InputEditor::set_keywords(const std::vector<std::string>& keywords, unsigned long long max_line_width) {
    document.keyword_lines = detail::layout_keyword_lines(keywords, max_line_width);
}

}  // namespace vesk::input::mopac
