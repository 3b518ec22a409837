// InputBuilder: composes a MOPAC input from code in one chain of calls.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "vesk/core/geometry.hpp"
#include "vesk/input/mopac/document.hpp"
#include "vesk/input/mopac/editor.hpp"
#include "vesk/input/mopac/export.hpp"

namespace vesk::input::mopac {

/// The editor's operations as a chain, keyword lines laid out at
/// default_keyword_line_width. Each chainable call returns this builder.
///
///     std::string text = InputBuilder()
///                            .set_method("PM7")
///                            .set_charge(-1)
///                            .set_title("acetate")
///                            .set_geometry(geometry, true)
///                            .to_string();
class InputBuilder {
public:
    /// Starts from an empty document.
    InputBuilder() : editor(MopacInput{}) {}
    /// Starts from `input`.
    explicit InputBuilder(MopacInput input) : editor(std::move(input)) {}

    /// Read access to the document built so far.
    const MopacInput& input() const noexcept { return editor.input(); }

    VESK_MOPAC_API InputBuilder& set_keywords(const std::vector<std::string>& keywords);
    VESK_MOPAC_API InputBuilder& add_keyword(std::string keyword);
    /// An empty optional writes `name` alone; an empty string writes "name=".
    VESK_MOPAC_API InputBuilder& set_keyword(std::string name, std::optional<std::string> value);
    VESK_MOPAC_API InputBuilder& set_method(std::string method);
    VESK_MOPAC_API InputBuilder& set_charge(int charge);
    /// Throws std::invalid_argument when `multiplicity` is 0.
    VESK_MOPAC_API InputBuilder& set_multiplicity(unsigned int multiplicity);
    /// Throws std::invalid_argument when `precision` is outside 0 to 18.
    VESK_MOPAC_API InputBuilder& set_auxiliary_output(int precision, bool include_xp_xs_xw);
    VESK_MOPAC_API InputBuilder& clear_auxiliary_output();
    VESK_MOPAC_API InputBuilder& set_title(std::string title);
    VESK_MOPAC_API InputBuilder& set_comment(std::string comment);
    VESK_MOPAC_API InputBuilder& set_geometry(const vesk::core::Geometry& geometry, bool optimize);
    VESK_MOPAC_API InputBuilder& set_geometry(const std::vector<CoordinateRecord>& records);
    VESK_MOPAC_API InputBuilder& add_atom(const vesk::core::Atom& atom, bool optimize);
    VESK_MOPAC_API InputBuilder& add_translation_vector(double x, double y, double z);

    /// The whole file text.
    VESK_MOPAC_API std::string to_string() const;
    /// Writes the file atomically; throws std::runtime_error on failure.
    VESK_MOPAC_API void write_file(const std::string& path) const;

private:
    InputEditor editor;
};

}  // namespace vesk::input::mopac
