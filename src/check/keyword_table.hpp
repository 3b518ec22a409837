// MOPAC's keyword list and the elements each method runs, as constant tables
// (made by scripts/make_mopac_tables.py).
#pragma once

#include <cstddef>

#include "vesk/input/mopac/catalogue.hpp"

namespace vesk::input::mopac::detail {

extern const KeywordInfo keyword_table[];
extern const std::size_t keyword_table_size;

/// What MOPAC does with one atom of each element 1-97 under a method:
/// 'y' runs; 'n' stops: "Parameters for some elements are missing";
/// 'j' stops: "JOB STOPPED. TO CONTINUE, SPECIFY ..."; 'v' stops:
/// "MISSING VAN DER WAALS RADIUS FOR ...".
struct MethodElements {
    const char* method;
    const char* elements;  // 97 letters, element 1 first
};

extern const MethodElements method_elements[];
extern const std::size_t method_elements_size;

}  // namespace vesk::input::mopac::detail
