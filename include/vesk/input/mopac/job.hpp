// A MOPAC input read as MOPAC itself reads it: lines, jobs, keywords, atoms,
// Cartesian positions and line-numbered diagnostics.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "vesk/core/geometry.hpp"
#include "vesk/input/mopac/export.hpp"

namespace vesk::input::mopac {

/// How a line of the file ended.
enum class LineEnd : std::uint8_t {
    none,  ///< the last line of a text that ends without a line end
    lf,    ///< "\n"
    crlf,  ///< "\r\n"
    cr,    ///< a lone "\r", as in classic-Mac files
};

/// What MOPAC makes of a line.
enum class LineRole : std::uint8_t {
    comment,       ///< starts with '*': MOPAC drops it wherever it stands
    skipped,       ///< before the geometry marker of an .arc file, or a pointer file's body
    keywords,      ///< a keyword line
    title,         ///< the first description line
    description,   ///< the second description line
    geometry,      ///< an atom, dummy atom or translation vector (or a PDB record)
    geometry_end,  ///< the line that ends the geometry: blank, atomic number 0 or " NEXT"
    symmetry,      ///< symmetry data (SYMMETRY)
    variables,     ///< values of the symbols of a Gaussian Z-matrix
    data,          ///< data a keyword asks for: reaction path points (a flag of -1), SETPI pairs, microstates
    unread,        ///< inline geometry that MOPAC does not read (GEO_DAT=, ...)
    lost,          ///< behind an over-long line up to the next line feed: MOPAC never sees it
    trailing,      ///< blank lines between and behind the jobs
};

/// One line of the file, in file order; its number is its index + 1.
struct JobLine {
    std::size_t offset = 0;  ///< of its first byte in MopacJob::text()
    std::size_t length = 0;  ///< in bytes, without the line end
    LineEnd end = LineEnd::none;
    LineRole role = LineRole::trailing;
    std::uint32_t job = 0;  ///< index of the job in MopacJob::jobs() the line belongs to
};

/// Member-wise comparison.
inline bool operator==(const JobLine& a, const JobLine& b) noexcept {
    return a.offset == b.offset && a.length == b.length && a.end == b.end && a.role == b.role && a.job == b.job;
}
inline bool operator!=(const JobLine& a, const JobLine& b) noexcept { return !(a == b); }

class JobLines;
class JobReader;
namespace detail {
JobLines cut_mopac_lines(std::string_view text);
}  // namespace detail

/// The lines of a text, 5 bytes a line (9 in a file of several jobs): where
/// each starts, how it ends, its role and its job. Each is handed out as a JobLine value; a line's length
/// is where the next one starts, less its line end.
class JobLines {
public:
    using value_type = JobLine;
    using size_type = std::size_t;

    /// A random-access iterator that yields JobLine values.
    class const_iterator {
    public:
        using iterator_category = std::random_access_iterator_tag;
        using value_type = JobLine;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = JobLine;

        const_iterator() = default;
        JobLine operator*() const noexcept { return (*lines_)[index_]; }
        JobLine operator[](difference_type n) const noexcept { return *(*this + n); }
        const_iterator& operator++() noexcept { ++index_; return *this; }
        const_iterator operator++(int) noexcept { const_iterator old = *this; ++index_; return old; }
        const_iterator& operator--() noexcept { --index_; return *this; }
        const_iterator operator--(int) noexcept { const_iterator old = *this; --index_; return old; }
        const_iterator& operator+=(difference_type n) noexcept { index_ = static_cast<std::size_t>(static_cast<difference_type>(index_) + n); return *this; }
        const_iterator& operator-=(difference_type n) noexcept { return *this += -n; }
        friend const_iterator operator+(const_iterator it, difference_type n) noexcept { return it += n; }
        friend const_iterator operator+(difference_type n, const_iterator it) noexcept { return it += n; }
        friend const_iterator operator-(const_iterator it, difference_type n) noexcept { return it -= n; }
        friend difference_type operator-(const const_iterator& a, const const_iterator& b) noexcept {
            return static_cast<difference_type>(a.index_) - static_cast<difference_type>(b.index_);
        }
        friend bool operator==(const const_iterator& a, const const_iterator& b) noexcept { return a.index_ == b.index_; }
        friend bool operator!=(const const_iterator& a, const const_iterator& b) noexcept { return a.index_ != b.index_; }
        friend bool operator<(const const_iterator& a, const const_iterator& b) noexcept { return a.index_ < b.index_; }
        friend bool operator>(const const_iterator& a, const const_iterator& b) noexcept { return a.index_ > b.index_; }
        friend bool operator<=(const const_iterator& a, const const_iterator& b) noexcept { return a.index_ <= b.index_; }
        friend bool operator>=(const const_iterator& a, const const_iterator& b) noexcept { return a.index_ >= b.index_; }

    private:
        friend class JobLines;
        const_iterator(const JobLines* lines, std::size_t index) noexcept : lines_(lines), index_(index) {}
        const JobLines* lines_ = nullptr;
        std::size_t index_ = 0;
    };

    std::size_t size() const noexcept { return starts_.size(); }
    bool empty() const noexcept { return starts_.empty(); }
    /// The line at `index` (0-based), which must be below size().
    JobLine operator[](std::size_t index) const noexcept {
        return JobLine{offset(index), length(index), end(index), role(index), job(index)};
    }
    /// The same, checked: std::out_of_range past the last line.
    VESK_MOPAC_API JobLine at(std::size_t index) const;
    JobLine front() const noexcept { return (*this)[0]; }
    JobLine back() const noexcept { return (*this)[size() - 1]; }
    const_iterator begin() const noexcept { return {this, 0}; }
    const_iterator end() const noexcept { return {this, size()}; }

    /// The parts of a line without building the whole JobLine.
    std::size_t offset(std::size_t index) const noexcept {
        std::size_t high = 0;
        if (!wraps_.empty()) {  // texts of 4 GiB and more: the lines from which offsets are 2^32 further on
            for (std::size_t wrap : wraps_) high += wrap <= index;
        }
        return static_cast<std::size_t>((std::uint64_t{high} << 32) + starts_[index]);
    }
    std::size_t length(std::size_t index) const noexcept {
        const std::size_t next = index + 1 < size() ? offset(index + 1) : text_size_;
        return next - offset(index) - end_bytes(end(index));
    }
    LineEnd end(std::size_t index) const noexcept { return static_cast<LineEnd>(kinds_[index] & 3U); }
    LineRole role(std::size_t index) const noexcept { return static_cast<LineRole>(kinds_[index] >> 2); }
    std::uint32_t job(std::size_t index) const noexcept { return jobs_.empty() ? 0 : jobs_[index]; }

    /// Member-wise comparison.
    friend bool operator==(const JobLines& a, const JobLines& b) noexcept {
        if (a.text_size_ != b.text_size_ || a.starts_ != b.starts_ || a.wraps_ != b.wraps_ || a.kinds_ != b.kinds_) {
            return false;
        }
        if (a.jobs_.empty() == b.jobs_.empty()) return a.jobs_ == b.jobs_;
        for (std::size_t i = 0; i < a.size(); ++i) {
            if (a.job(i) != b.job(i)) return false;
        }
        return true;
    }
    friend bool operator!=(const JobLines& a, const JobLines& b) noexcept { return !(a == b); }

private:
    // The reading builds and marks the lines.
    friend class JobReader;
    friend JobLines detail::cut_mopac_lines(std::string_view text);

    /// Appends a line that starts at `offset` and ends with `end`, role trailing.
    void push_back(std::size_t offset, LineEnd end) {
        for (const std::uint64_t high = static_cast<std::uint64_t>(offset) >> 32; last_high_ < high; ++last_high_) {
            wraps_.push_back(starts_.size());
        }
        starts_.push_back(static_cast<std::uint32_t>(offset));
        kinds_.push_back(static_cast<std::uint8_t>(static_cast<unsigned>(end) |
                                                   static_cast<unsigned>(LineRole::trailing) << 2));
        if (!jobs_.empty()) jobs_.push_back(0);
    }
    /// Room for `lines` lines.
    void reserve(std::size_t lines) {
        starts_.reserve(lines);
        kinds_.reserve(lines);
    }
    /// The size of the text the lines cut: the last line ends there.
    void set_text_size(std::size_t size) noexcept { text_size_ = size; }
    void set_role(std::size_t index, LineRole role) noexcept {
        kinds_[index] = static_cast<std::uint8_t>((kinds_[index] & 3U) | static_cast<unsigned>(role) << 2);
    }
    void set_job(std::size_t index, std::uint32_t job) {
        if (jobs_.empty()) {
            if (job == 0) return;
            jobs_.assign(size(), 0);  // the first line of a second job: every line had job 0 so far
        }
        jobs_[index] = job;
    }
    /// Takes the roles and jobs of `other`, whose lines must end as these do
    /// (else false, nothing taken): the lines of a text edited within its lines.
    bool take_marks(const JobLines& other) {
        if (other.kinds_.size() != kinds_.size()) return false;
        for (std::size_t i = 0; i < kinds_.size(); ++i) {
            if (((other.kinds_[i] ^ kinds_[i]) & 3U) != 0) return false;
        }
        kinds_ = other.kinds_;
        jobs_ = other.jobs_;
        return true;
    }

    static std::size_t end_bytes(LineEnd end) noexcept { return end == LineEnd::crlf ? 2 : (end == LineEnd::none ? 0 : 1); }

    std::vector<std::uint32_t> starts_;  // offsets, their low 32 bits
    std::vector<std::size_t> wraps_;     // where the high bits go up by one
    std::vector<std::uint8_t> kinds_;    // LineEnd in bits 0-1, LineRole from bit 2
    std::vector<std::uint32_t> jobs_;  // empty while every line belongs to job 0
    std::size_t text_size_ = 0;
    std::uint64_t last_high_ = 0;
};

/// How sure a diagnostic is that the run goes wrong.
enum class Severity : std::uint8_t {
    warning,  ///< MOPAC reads the text, but probably not as its author meant
    error,    ///< MOPAC stops on it
};

/// One finding, tied to a place in the file.
struct Diagnostic {
    Severity severity = Severity::warning;
    std::string code;        ///< stable and short, for scripts: "unknown-element"
    std::size_t line = 0;    ///< 1-based line number; 0 for the whole file
    std::size_t column = 0;  ///< 1-based byte column in that line; 0 for the whole line
    std::string message;     ///< a fixed English sentence, MOPAC's own words where MOPAC stops
    std::string suggestion;  ///< what to write instead, where there is something to suggest
};

/// Member-wise comparison.
inline bool operator==(const Diagnostic& a, const Diagnostic& b) noexcept {
    return a.severity == b.severity && a.code == b.code && a.line == b.line && a.column == b.column &&
           a.message == b.message && a.suggestion == b.suggestion;
}
inline bool operator!=(const Diagnostic& a, const Diagnostic& b) noexcept { return !(a == b); }

/// One keyword as MOPAC sees it: upper-cased, "NAME = value" closed up to
/// "NAME=value", GEO-DAT spelt GEO_DAT.
struct JobKeyword {
    std::string text;
    std::size_t line = 0;    ///< line number of its first byte
    std::size_t column = 0;  ///< 1-based byte column of its first byte in that line
    std::size_t length = 0;  ///< bytes it covers in that line (one line; a "++" join may split a word)
};

/// Member-wise comparison.
inline bool operator==(const JobKeyword& a, const JobKeyword& b) noexcept {
    return a.text == b.text && a.line == b.line && a.column == b.column && a.length == b.length;
}
inline bool operator!=(const JobKeyword& a, const JobKeyword& b) noexcept { return !(a == b); }

/// The form of the keyword head.
enum class HeadForm : std::uint8_t {
    plain,        ///< one keyword line, two description lines
    plus,         ///< " +" continues the keywords: up to three lines, two description lines
    ampersand,    ///< '&' continues the keywords; one description line or none
    double_plus,  ///< "++" glues the next line to the keyword line
    setup,        ///< SETUP: more keywords come from a file, which is not read here
};

/// Where the atoms of a job come from.
enum class GeometrySource : std::uint8_t {
    inline_text,     ///< the lines behind the head, MOPAC's own format
    gaussian,        ///< the lines behind the head, a Gaussian Z-matrix (AIGIN or recognised)
    pdb,             ///< the lines behind the head, PDB records
    geo_dat,         ///< the file named by GEO_DAT=, not read here
    previous_job,    ///< OLDGEO: the geometry of the job before
    data_pointer,    ///< DATA= on the first line: the whole data set is elsewhere
    none,            ///< the text ends inside the head
};

/// A line of text of the head: the title or the description.
struct JobText {
    std::string text;      ///< as MOPAC keeps it: tabs expanded, at most 200 bytes
    std::size_t line = 0;  ///< 0 when the head has no such line
};

/// Member-wise comparison.
inline bool operator==(const JobText& a, const JobText& b) noexcept { return a.text == b.text && a.line == b.line; }
inline bool operator!=(const JobText& a, const JobText& b) noexcept { return !(a == b); }

/// Counts of what a geometry holds, by line.
struct GeometryCounts {
    std::size_t atoms = 0;                ///< real atoms, sparkles and capped bonds
    std::size_t dummies = 0;              ///< XX and X... atoms, removed before the run
    std::size_t translation_vectors = 0;  ///< Tv: 1 polymer, 2 layer, 3 solid
    std::size_t internal = 0;             ///< lines in internal coordinates (r, angle, dihedral)
    std::size_t cartesian = 0;            ///< lines in Cartesian coordinates
    std::array<std::size_t, 108> by_atomic_number{};  ///< index = atomic number, 99 dummies, 107 Tv
};

/// Member-wise comparison.
inline bool operator==(const GeometryCounts& a, const GeometryCounts& b) noexcept {
    return a.atoms == b.atoms && a.dummies == b.dummies && a.translation_vectors == b.translation_vectors &&
           a.internal == b.internal && a.cartesian == b.cartesian && a.by_atomic_number == b.by_atomic_number;
}
inline bool operator!=(const GeometryCounts& a, const GeometryCounts& b) noexcept { return !(a == b); }

/// One job of the file. Most files hold one; MOPAC runs several in turn.
struct Job {
    std::vector<JobKeyword> keywords;
    HeadForm head = HeadForm::plain;
    std::size_t first_keyword_line = 0;  ///< 1-based
    std::size_t keyword_line_count = 0;  ///< lines MOPAC reads as keywords (comment lines between them aside)
    JobText title;
    JobText description;
    GeometrySource source = GeometrySource::none;
    std::string source_name;         ///< GEO_DAT, SETUP or DATA file name, as written
    std::size_t geometry_begin = 0;  ///< index into MopacJob::lines() of the first geometry line
    std::size_t geometry_end = 0;    ///< one past the last geometry line
    bool bohr = false;               ///< lengths in Bohr: A0, or an "x y z El" line
    GeometryCounts counts;

    /// Whether a keyword has the name of `name`, compared as normalize_keyword_name does.
    VESK_MOPAC_API bool has_keyword(std::string_view name) const;
    /// The value of the first keyword of that name, as MopacInput::keyword_value gives it.
    VESK_MOPAC_API std::optional<std::string> keyword_value(std::string_view name) const;
};

/// Member-wise comparison.
inline bool operator==(const Job& a, const Job& b) noexcept {
    return a.keywords == b.keywords && a.head == b.head && a.first_keyword_line == b.first_keyword_line &&
           a.keyword_line_count == b.keyword_line_count && a.title == b.title && a.description == b.description &&
           a.source == b.source && a.source_name == b.source_name && a.geometry_begin == b.geometry_begin &&
           a.geometry_end == b.geometry_end && a.bohr == b.bohr && a.counts == b.counts;
}
inline bool operator!=(const Job& a, const Job& b) noexcept { return !(a == b); }

/// How the coordinates of an atom line are given.
enum class CoordinateForm : std::uint8_t {
    cartesian,  ///< x, y, z
    internal,   ///< bond length, angle, dihedral against connectivity atoms
};

/// One geometry line as MOPAC reads it.
struct JobAtom {
    std::size_t line = 0;                ///< 1-based line number
    int atomic_number = 0;               ///< 1-98 elements, 99 dummy, 100-106 sparkles, 102 Cb, 107 Tv
    std::string symbol;                  ///< as MOPAC's table spells it: "C", "Cl", "XX", "+3", "Tv"
    std::string label;                   ///< the text between '(' and ')', empty without
    double isotope_mass = 0.0;           ///< 0 unless the line gives one; D and T give 2.014 and 3.016
    CoordinateForm form = CoordinateForm::cartesian;
    std::array<double, 3> values{};      ///< x y z, or r, angle, dihedral (degrees), as written
    std::array<int, 3> flags{};          ///< optimisation flags as MOPAC keeps them
    std::array<std::size_t, 3> connectivity{};  ///< na nb nc, 1-based atom numbers, 0 for none
    std::string extra;                   ///< columns behind those MOPAC reads (charges), as written
};

/// Member-wise comparison (values compare as doubles do).
inline bool operator==(const JobAtom& a, const JobAtom& b) noexcept {
    return a.line == b.line && a.atomic_number == b.atomic_number && a.symbol == b.symbol && a.label == b.label &&
           a.isotope_mass == b.isotope_mass && a.form == b.form && a.values == b.values && a.flags == b.flags &&
           a.connectivity == b.connectivity && a.extra == b.extra;
}
inline bool operator!=(const JobAtom& a, const JobAtom& b) noexcept { return !(a == b); }

/// The symbol of an atomic number of MOPAC's table, as MOPAC spells it: "C",
/// "Cl", "XX" (99), "+3" (100), "Cb" (102), "Tv" (107); empty outside 1-107.
VESK_MOPAC_API std::string_view element_symbol(int atomic_number) noexcept;

/// Options of a reading.
struct ReadOptions {
    /// Read the text as an .arc file: from the line behind its "FINAL GEOMETRY
    /// OBTAINED" (or Cartesian / Z-matrix geometry) marker. read_job_file sets
    /// it when the file name holds ".arc" in any case, as MOPAC does.
    bool arc = false;
};

/// An input file read as MOPAC reads it. Reading never throws on any bytes and
/// keeps the text whole; a defect of the text is a Diagnostic.
///
///     MopacJob job = read_job(text);
///     for (const Diagnostic& d : job.diagnostics()) std::cerr << d.line << ": " << d.message << '\n';
///     vesk::core::Geometry atoms = job.geometry();  // Z-matrices placed as MOPAC places them
class MopacJob {
public:
    MopacJob() = default;

    /// The whole text, as read.
    const std::string& text() const noexcept { return text_; }
    /// The options it was read with.
    const ReadOptions& options() const noexcept { return options_; }
    /// Every line of the file with what MOPAC makes of it.
    const JobLines& lines() const noexcept { return lines_; }
    /// The text of a line (1-based number), without its line end.
    VESK_MOPAC_API std::string_view line_text(std::size_t number) const noexcept;
    /// The jobs of the file, in the order MOPAC runs them; empty for an empty text.
    const std::vector<Job>& jobs() const noexcept { return jobs_; }
    /// Everything found, in line order.
    const std::vector<Diagnostic>& diagnostics() const noexcept { return diagnostics_; }
    /// Whether a diagnostic is an error: MOPAC would stop.
    VESK_MOPAC_API bool has_errors() const noexcept;

    /// The geometry lines of a job as atoms, parsed afresh on each call.
    VESK_MOPAC_API std::vector<JobAtom> atoms(std::size_t job = 0) const;
    /// The Cartesian positions (Å) of the atoms of a job as MOPAC places them:
    /// internal coordinates converted, symmetry data applied, dummy atoms and
    /// translation vectors left out. Empty when the job's atoms come from
    /// elsewhere or cannot be placed (see diagnostics()). Computed on each call.
    VESK_MOPAC_API vesk::core::Geometry geometry(std::size_t job = 0) const;
    /// The translation vectors of a job (Å), computed as its atoms are.
    VESK_MOPAC_API std::vector<std::array<double, 3>> translation_vectors(std::size_t job = 0) const;

    /// Calls `visit(atomic_number, position)` for every atom of a job as MOPAC
    /// places it, in line order: the atoms geometry() gives, with dummy atoms
    /// (99) and translation vectors (107) among them, positions in Å. An
    /// all-Cartesian job is read line by line, holding no atoms, so a writer
    /// can stream any size. False, with no call, where geometry() is empty.
    ///
    ///     job.for_each_atom(0, [&](int z, const std::array<double, 3>& at) { ... });
    template <class Visit>
    bool for_each_atom(std::size_t job, Visit&& visit) const {
        using Target = std::remove_reference_t<Visit>;
        return visit_atoms(job, [](void* target, int atomic_number, const std::array<double, 3>& position) {
            (*static_cast<Target*>(target))(atomic_number, position);
        }, const_cast<void*>(static_cast<const void*>(&visit)));
    }
    /// for_each_atom without a template: `visit(context, atomic_number, position)`.
    VESK_MOPAC_API bool visit_atoms(std::size_t job, void (*visit)(void*, int, const std::array<double, 3>&),
                                    void* context) const;

private:
    friend class JobReader;
    // Where the reading placed the atoms of a job, when it could keep them:
    // the same answer geometry() would work out again from the lines.
    struct Placed {
        std::vector<std::array<double, 3>> positions;
        std::vector<std::uint8_t> atomic_numbers;  // 1 to 107
    };
    std::string text_;
    ReadOptions options_;
    JobLines lines_;
    std::vector<Job> jobs_;
    std::vector<Diagnostic> diagnostics_;
    std::vector<Placed> placed_;

    // The placed atoms of a job: its kept placement, else worked out into
    // `scratch`; null when MOPAC would not place them.
    const Placed* placement(std::size_t job, Placed& scratch) const;
};

/// Reads a MOPAC input as MOPAC reads it. Any bytes are accepted.
VESK_MOPAC_API MopacJob read_job(std::string_view text, const ReadOptions& options = {});
/// The same, taking the text over instead of copying it.
VESK_MOPAC_API MopacJob read_job(std::string&& text, const ReadOptions& options = {});
/// The same for a C string.
inline MopacJob read_job(const char* text, const ReadOptions& options = {}) {
    return read_job(std::string_view(text), options);
}

/// Reads a file as MOPAC reads it. A file that cannot be read gives a job
/// with one error diagnostic "cannot read the file: <reason>" (code "read-failed").
VESK_MOPAC_API MopacJob read_job_file(const std::string& path);

}  // namespace vesk::input::mopac
