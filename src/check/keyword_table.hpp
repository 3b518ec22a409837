// MOPAC's keyword list as a constant table (made by scripts/make_keyword_table.py).
#pragma once

#include <cstddef>

#include "vesk/input/mopac/catalogue.hpp"

namespace vesk::input::mopac::detail {

extern const KeywordInfo keyword_table[];
extern const std::size_t keyword_table_size;

}  // namespace vesk::input::mopac::detail
