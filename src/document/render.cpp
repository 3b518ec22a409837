// Rendering of a MopacInput: coordinate lines, the whole text, the file.
#include <charconv>
#include <cstring>
#include <stdexcept>
#include <string>

#include "document/number_format.hpp"
#include "vesk/core/fs.hpp"
#include "vesk/input/mopac/document.hpp"

namespace vesk::input::mopac {
namespace {

std::size_t max_line_size(const CoordinateRecord& record) noexcept;
char* write_line(char* out, const CoordinateRecord& record) noexcept;
char* write_text(char* out, const std::string& text) noexcept;
[[noreturn]] void fail_write(const std::string& path);

}  // namespace

std::string format_coordinate(const CoordinateRecord& record) {
    if (record.kind == CoordinateKind::Raw) return record.raw_line;
    std::string line(max_line_size(record), '\0');
    line.resize(static_cast<std::size_t>(write_line(line.data(), record) - line.data()));
    return line;
}

std::string MopacInput::to_string() const {
    // Size the text once for the longest possible numbers, fill it in place,
    // then cut it to what was written.
    std::size_t bound = keyword_lines.empty() ? 1 : 0;
    for (const auto& line : keyword_lines) bound += line.size() + 1;
    bound += title.size() + 1 + comment.size() + 1;
    for (const auto& record : coordinates) bound += max_line_size(record) + 1;
    for (const auto& line : trailing_lines) bound += line.size() + 1;

    std::string text(bound, '\0');
    char* out = text.data();
    if (keyword_lines.empty()) *out++ = '\n';  // the keyword position is never left out
    for (const auto& line : keyword_lines) {
        out = write_text(out, line);
        *out++ = '\n';
    }
    out = write_text(out, title);
    *out++ = '\n';
    out = write_text(out, comment);
    *out++ = '\n';
    for (const auto& record : coordinates) {
        out = write_line(out, record);
        *out++ = '\n';
    }
    for (const auto& line : trailing_lines) {
        out = write_text(out, line);
        *out++ = '\n';
    }
    text.resize(static_cast<std::size_t>(out - text.data()));
    // Numbers are mostly far shorter than their bound; give the rest back
    // when it is a sizeable share of the text.
    if (text.capacity() - text.size() > text.size() / 4) text.shrink_to_fit();
    return text;
}

void MopacInput::write_file(const std::string& path) const {
    bool written = false;
    {
        const std::string text = to_string();
        written = vesk::core::fs::write_text_file_atomic(path, text);
    }  // the text is released before a failure is reported
    if (!written) fail_write(path);
}

namespace {

constexpr std::size_t max_int_chars = 11;  // "-2147483648"

std::size_t max_line_size(const CoordinateRecord& record) noexcept {
    if (record.kind == CoordinateKind::Raw) return record.raw_line.size();
    std::size_t label = record.kind == CoordinateKind::TranslationVector ? 2 : record.element.size();
    std::size_t flags = record.has_optimization_flags ? 3 * (1 + max_int_chars) : 0;
    return label + 3 * (1 + detail::max_number_chars) + flags;
}

char* write_int(char* out, int value) noexcept {
    char buffer[max_int_chars + 1];
    char* end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    std::size_t size = static_cast<std::size_t>(end - buffer);
    std::memcpy(out, buffer, size);
    return out + size;
}

char* write_text(char* out, const std::string& text) noexcept {
    if (!text.empty()) std::memcpy(out, text.data(), text.size());
    return out + text.size();
}

// "O 0 1 0 1 0 1", "H 0.96 0 0", "Tv 5.5 0 0": one blank between fields,
// never aligned in columns. `out` has room for max_line_size(record).
char* write_line(char* out, const CoordinateRecord& record) noexcept {
    if (record.kind == CoordinateKind::Raw) return write_text(out, record.raw_line);
    if (record.kind == CoordinateKind::TranslationVector) {
        *out++ = 'T';
        *out++ = 'v';
    } else {
        out = write_text(out, record.element);
    }
    const double coordinates[3] = {record.x, record.y, record.z};
    const int flags[3] = {record.optimize_x, record.optimize_y, record.optimize_z};
    for (int axis = 0; axis < 3; ++axis) {
        *out++ = ' ';
        out = detail::write_number(out, coordinates[axis]);
        if (record.has_optimization_flags) {
            *out++ = ' ';
            out = write_int(out, flags[axis]);
        }
    }
    return out;
}

[[noreturn]] void fail_write(const std::string& path) {
    throw std::runtime_error("failed to write MOPAC input file: " + path);
}

}  // namespace
}  // namespace vesk::input::mopac
