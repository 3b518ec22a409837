// Reading sources, writing results and reporting problems: what every
// subcommand of mopac-input does with files, in one place.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <vesk/input/mopac/job.hpp>

namespace vesk::tools {

/// Makes sure that descriptors 0, 1 and 2 are open before any file is
/// opened: a file that became descriptor 1 would receive standard output.
/// A closed standard output is replaced by one that refuses every write, so
/// that output is reported lost rather than silently dropped.
void guard_standard_streams();

/// Flushes what was printed through std::cout (help texts) and closes
/// standard output, where some delayed write errors only show. Answers
/// `status`, or 1 instead of 0 when anything written there was lost.
int finish_standard_output(int status);

/// Prints "mopac-input: WHERE: MESSAGE" on standard error, control bytes escaped.
void report(std::string_view where, std::string_view message);

/// Reads a whole file, or standard input for "-"; reports a failure and answers false.
bool read_source(const std::string& path, std::string& text);

/// Writes `text` whole: to the file `path`, atomically, or to standard output
/// when `path` is empty. Reports a failure with its reason ("PATH: No space
/// left on device", "standard output: ...") and answers false; after a
/// failure of standard output nothing more is written there.
bool write_result(const std::string& path, std::string_view text);

/// One file of a batch, as read.
struct SourceFile {
    std::string path;
    std::string text;
};

/// The file read as MOPAC reads it (an .arc file from its marker, as MOPAC
/// does by the name); the text is taken over.
input::mopac::MopacJob read_as_mopac(SourceFile& file);

/// The read-report loop of every subcommand that reads MOPAC inputs: reads
/// each file in turn, with a progress line on a terminal, reports what cannot
/// be read, and hands each file that was read to `use`, which answers its
/// exit status (an exception it throws is reported as a failure). Stops when
/// standard output has failed. Answers 1 when anything failed.
///
/// With `lock`, each file is locked (flock, exclusive) before it is read and
/// stays locked until `use` returns, so that runs that replace one file take
/// turns instead of losing each other's update.
int for_each_file(const std::vector<std::string>& paths, const std::function<int(SourceFile&)>& use,
                  bool lock = false);

}  // namespace vesk::tools
