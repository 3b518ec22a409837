// Reading sources, writing results and reporting problems: what every
// subcommand of mopac-input does with files, in one place.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <vesk/core/fs.hpp>
#include <vesk/input/mopac/job.hpp>

namespace vesk::tools {

/// Makes sure that descriptors 0, 1 and 2 are open before any file is
/// opened: a file that became descriptor 1 would receive standard output.
/// A closed standard output is replaced by one that refuses every write, so
/// that output is reported lost rather than silently dropped. What is
/// printed through std::cout (help and version texts) is written as any
/// other output from then on, its failure reported with its reason.
void guard_standard_streams();

/// Flushes what was printed through std::cout and closes standard output,
/// where some delayed write errors only show. Answers `status`, or 1
/// instead of 0 when anything written there was lost.
int finish_standard_output(int status);

/// The largest input read, in bytes (--max-size); 256 MiB unless set.
constexpr std::size_t default_input_limit = std::size_t{256} << 20;
void set_input_limit(std::size_t bytes);

/// Why `text` is not read as an input ("not a text file: a NUL byte at
/// offset 3"); empty when it is. No real input holds a NUL byte; every other
/// byte is left to the reading, which reports what MOPAC would do with it.
std::string text_problem(std::string_view text);

/// Prints "mopac-input: WHERE: MESSAGE" on standard error, control bytes escaped.
void report(std::string_view where, std::string_view message);

/// Reads a whole regular file, or standard input for "-", within the input
/// limit and refusing what text_problem() refuses; reports a failure and
/// answers false. A FIFO, a device or a directory is refused, not waited for.
bool read_source(const std::string& path, std::string& text);

/// Writes `text` whole: to the file `path`, atomically (a character device
/// such as /dev/null directly), or to standard output when `path` is empty.
/// Reports a failure with its reason ("PATH: No space left on device",
/// "standard output: ...") and answers false; after a failure of standard
/// output nothing more is written there.
///
/// When `path` is the file for_each_file() has in hand (an edit in place),
/// it is replaced only while it is still the file read, and not written at
/// all when `text` is what it holds: then "PATH: unchanged" is reported and
/// the answer is true.
bool write_result(const std::string& path, std::string_view text);

/// write_result() for an output made piece by piece: `produce` hands each
/// piece to the sink it is given, which passes it on at once (to standard
/// output, a device, or the temporary file that replaces `path` at the end)
/// and answers whether `produce` made the whole output and all went out.
bool write_result_stream(const std::string& path, const std::function<bool(const core::fs::OutputSink&)>& produce);

/// What became of one file of a batch, counted for the summary line that a
/// batch of more than one file ends with ("mopac-input: 3 files: 1 edited,
/// 1 unchanged, 1 refused, 0 failed"). Each command counts in its own words;
/// a file that could not be read counts as "failed".
void tally(const char* outcome);

/// The outcomes a command's summary always names, in this order, even at 0.
void set_summary_outcomes(std::vector<const char*> outcomes);

/// Writes an edited text as write_result() does, and answers what became of
/// it: written, unchanged (the file in hand already holds it), or failed.
core::fs::WriteOutcome write_edited(const std::string& path, std::string_view text);

/// How many files a batch works on at once (-j N, 1 by default). The output
/// of each file is held and printed in the order of the files.
void set_batch_jobs(int jobs);

/// One file of a batch, as read.
struct SourceFile {
    std::string path;
    std::string text;
    core::fs::FileIdentity identity;  // of the file read; none for standard input
};

/// How for_each_file() reads each file.
struct ReadRules {
    /// Each file is locked (flock, exclusive) before it is read and stays
    /// locked until `use` returns, so that runs that replace one file take
    /// turns instead of losing each other's update.
    bool lock = false;
    /// An empty file is reported ("the file is empty") instead of used.
    bool refuse_empty = false;
};

/// The file read as MOPAC reads it (an .arc file from its marker, as MOPAC
/// does by the name); the text is taken over.
input::mopac::MopacJob read_as_mopac(SourceFile& file);

/// The read-report loop of every subcommand that reads MOPAC inputs: reads
/// each file in turn, with a progress line on a terminal, reports what cannot
/// be read, and hands each file that was read to `use`, which answers its
/// exit status (an exception it throws is reported as a failure). Stops when
/// standard output has failed. Answers 1 when anything failed.
int for_each_file(const std::vector<std::string>& paths, const std::function<int(SourceFile&)>& use,
                  ReadRules rules = {});

}  // namespace vesk::tools
