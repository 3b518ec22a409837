// Fuzz target: any bytes parse to a result, every coordinate record is what
// the general reading of its line makes of it (tokens as a classic-locale
// stream cuts them, each number converted whole), and a parsed document
// survives render and parse again.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <locale>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "parser/coordinates.hpp"
#include "round_trip.hpp"

namespace {

using namespace vesk::input::mopac;

CoordinateRecord general_record(const std::string& line) {
    std::istringstream in(line);
    in.imbue(std::locale::classic());
    std::vector<std::string> words;
    for (std::string word; in >> word;) words.push_back(word);
    const std::vector<std::string_view> tokens(words.begin(), words.end());
    CoordinateRecord record;
    if (!detail::parse_coordinate_tokens(tokens.data(), tokens.size(), record)) {
        record.kind = CoordinateKind::Raw;
        record.raw_line = line;
    }
    return record;
}

bool same_number(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b)); }

bool same_record(const CoordinateRecord& a, const CoordinateRecord& b) {
    return a.kind == b.kind && a.element == b.element && same_number(a.x, b.x) && same_number(a.y, b.y) &&
           same_number(a.z, b.z) && a.has_optimization_flags == b.has_optimization_flags &&
           a.optimize_x == b.optimize_x && a.optimize_y == b.optimize_y && a.optimize_z == b.optimize_z &&
           a.raw_line == b.raw_line;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using vesk::fuzz::check;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const ParseResult result = parse_string(text);
    check(result.ok ? result.error.empty() && result.warnings.size() <= 1
                    : !result.error.empty() && result.warnings.empty(),
          "error text and warnings do not fit the outcome");
    if (!result.ok) return 0;
    const std::vector<std::string> lines = detail::split_lines(text);
    const std::size_t head = result.input.keyword_lines.size() + 2;
    for (std::size_t i = 0; i < result.input.coordinates.size(); ++i) {
        check(same_record(result.input.coordinates[i], general_record(lines[head + i])),
              "record " + std::to_string(i + 1) + " differs from the general reading of its line");
    }
    const std::string defect = vesk::fuzz::round_trip_defect(text, result.input);
    check(defect.empty(), defect);
    return 0;
}
