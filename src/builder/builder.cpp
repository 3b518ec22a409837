// InputBuilder: each call forwards to its editor at the default keyword width.
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vesk/input/mopac/builder.hpp"

namespace vesk::input::mopac {

InputBuilder& InputBuilder::set_keywords(const std::vector<std::string>& keywords) {
    editor.set_keywords(keywords, default_keyword_line_width);
    return *this;
}

InputBuilder& InputBuilder::add_keyword(std::string keyword) {
    editor.add_keyword(std::move(keyword), default_keyword_line_width);
    return *this;
}

// An empty optional must reach the editor as "no value" (NAME), an engaged
// empty string as an empty value (NAME=); the strings outlive the call.
InputBuilder& InputBuilder::set_keyword(std::string name, std::optional<std::string> value) {
    std::optional<std::string_view> value_view;
    if (value) value_view = *value;
    editor.set_keyword(name, value_view, default_keyword_line_width);
    return *this;
}

InputBuilder& InputBuilder::set_method(std::string method) {
    editor.set_method(std::move(method), default_keyword_line_width);
    return *this;
}

InputBuilder& InputBuilder::set_charge(int charge) {
    editor.set_charge(charge, default_keyword_line_width);
    return *this;
}

InputBuilder& InputBuilder::set_multiplicity(unsigned int multiplicity) {
    editor.set_multiplicity(multiplicity, default_keyword_line_width);
    return *this;
}

InputBuilder& InputBuilder::set_auxiliary_output(int precision, bool include_xp_xs_xw) {
    editor.set_auxiliary_output(precision, include_xp_xs_xw, default_keyword_line_width);
    return *this;
}

InputBuilder& InputBuilder::clear_auxiliary_output() {
    editor.clear_auxiliary_output(default_keyword_line_width);
    return *this;
}

InputBuilder& InputBuilder::set_title(std::string title) {
    editor.set_title(std::move(title));
    return *this;
}

InputBuilder& InputBuilder::set_comment(std::string comment) {
    editor.set_comment(std::move(comment));
    return *this;
}

InputBuilder& InputBuilder::set_geometry(const vesk::core::Geometry& geometry, bool optimize) {
    editor.set_geometry(geometry, optimize);
    return *this;
}

InputBuilder& InputBuilder::set_geometry(const std::vector<CoordinateRecord>& records) {
    editor.set_geometry(records);
    return *this;
}

InputBuilder& InputBuilder::add_atom(const vesk::core::Atom& atom, bool optimize) {
    editor.add_atom(atom, optimize);
    return *this;
}

InputBuilder& InputBuilder::add_translation_vector(double x, double y, double z) {
    editor.add_translation_vector(x, y, z);
    return *this;
}

std::string InputBuilder::to_string() const { return editor.to_string(); }

void InputBuilder::write_file(const std::string& path) const { editor.write_file(path); }

}  // namespace vesk::input::mopac
