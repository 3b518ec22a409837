// Reading sources, writing results and reporting problems: what every
// subcommand of mopac-input does with files, in one place.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <vesk/input/mopac/parser.hpp>

namespace vesk::tools {

/// Prints "mopac-input: WHERE: MESSAGE" on standard error, control bytes escaped.
void report(std::string_view where, std::string_view message);

/// Reads a whole file, or standard input for "-"; reports a failure and answers false.
bool read_source(const std::string& path, std::string& text);

/// Writes `text` whole: to the file `path`, atomically, or to standard output
/// when `path` is empty. Reports a failure and answers false.
bool write_result(const std::string& path, std::string_view text);

/// One file of a batch, as read and as the library parsed it.
struct SourceFile {
    std::string path;
    std::string text;
    input::mopac::ParseResult parsed;  // a parse error was reported already
};

/// The read-report loop of every subcommand that reads MOPAC inputs: reads and
/// parses each file in turn, with a progress line on a terminal, reports what
/// cannot be read or parsed, and hands each file that was read to `use`, which
/// answers its exit status (an exception it throws is reported as a failure).
/// Answers 1 when anything failed, else 0.
int for_each_file(const std::vector<std::string>& paths, const std::function<int(SourceFile&)>& use);

}  // namespace vesk::tools
