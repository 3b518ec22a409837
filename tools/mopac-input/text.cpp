// Text helpers of the subcommands.
#include "text.hpp"

namespace vesk::tools {
namespace {

bool is_word_separator(char c) { return c == ' ' || c == '\t' || c == '\r'; }

}  // namespace

std::vector<std::string_view> split_words(std::string_view line) {
    std::vector<std::string_view> words;
    std::size_t i = 0;
    while (i < line.size()) {
        while (i < line.size() && is_word_separator(line[i])) ++i;
        const std::size_t start = i;
        while (i < line.size() && !is_word_separator(line[i])) ++i;
        if (i > start) words.push_back(line.substr(start, i - start));
    }
    return words;
}

}  // namespace vesk::tools
