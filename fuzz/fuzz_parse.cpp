// Fuzz target: any bytes parse to a result, and a parsed document survives
// render and parse again.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "round_trip.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vesk;
    std::string_view text(reinterpret_cast<const char*>(data), size);
    input::mopac::ParseResult result = input::mopac::parse_string(text);
    if (!result.ok) {
        fuzz::check(!result.error.empty(), "failure without an error text");
        fuzz::check(result.warnings.empty(), "warnings on a failed parse");
        return 0;
    }
    fuzz::check(result.error.empty(), "error text on a successful parse");
    fuzz::check(result.warnings.size() <= 1, "more than one warning");
    const std::string defect = fuzz::round_trip_defect(text, result.input);
    if (!defect.empty()) fuzz::fail(defect);
    return 0;
}
