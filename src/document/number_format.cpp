// Locale-independent number text for the coordinate lines and keyword values.
#include <charconv>
#include <string>

#include "document/number_format.hpp"

namespace vesk::input::mopac::detail {

// std::to_chars in general format at precision 12 is specified to give the
// text of printf("%.12g") in the "C" locale, and it never consults a locale:
// no decimal comma, no digit grouping, whatever the host program selected.
char* write_number(char* first, double value) noexcept {
    return std::to_chars(first, first + max_number_chars, value, std::chars_format::general, 12).ptr;
}

void append_number(std::string& out, double value) {
    char buffer[max_number_chars];
    out.append(buffer, write_number(buffer, value));
}

void append_integer(std::string& out, long long value) {
    char buffer[24];
    out.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr);
}

}  // namespace vesk::input::mopac::detail
