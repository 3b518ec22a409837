// Fuzz target: any bytes parse to a result, and a parsed document survives
// render and parse again.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "round_trip.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using vesk::fuzz::check;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const vesk::input::mopac::ParseResult result = vesk::input::mopac::parse_string(text);
    check(result.ok ? result.error.empty() && result.warnings.size() <= 1
                    : !result.error.empty() && result.warnings.empty(),
          "error text and warnings do not fit the outcome");
    if (!result.ok) return 0;
    const std::string defect = vesk::fuzz::round_trip_defect(text, result.input);
    check(defect.empty(), defect);
    return 0;
}
