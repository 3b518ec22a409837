// The reading as MOPAC reads it over every real input of the corpus: nothing
// unexplained, the expected files in error, and internal coordinates that
// the placed atoms give back.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "corpus.hpp"
#include "job/placement.hpp"
#include "job/elements.hpp"
#include "job/job_placement.hpp"
#include "job/reader.hpp"
#include "vesk/core/fs.hpp"
#include "vesk/input/mopac/job.hpp"

namespace vesk::input::mopac {
namespace {

using detail::Position;

using vesk::testing::corpus_files;

Position minus(const Position& a, const Position& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
double dot(const Position& a, const Position& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
Position cross(const Position& a, const Position& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double degrees(double radians) { return radians * 180.0 / M_PI; }

// Bond length, angle and IUPAC dihedral of d against c, b, a.
std::array<double, 3> internal_of(const Position& d, const Position& c, const Position& b, const Position& a) {
    const Position cd = minus(d, c);
    const Position cb = minus(b, c);
    const double angle = std::atan2(std::sqrt(dot(cross(cd, cb), cross(cd, cb))), dot(cd, cb));
    const Position axis = minus(c, b);
    const double length = std::sqrt(dot(axis, axis));
    const Position u = {axis[0] / length, axis[1] / length, axis[2] / length};
    const Position ba = minus(a, b);
    const Position v = minus(ba, {u[0] * dot(ba, u), u[1] * dot(ba, u), u[2] * dot(ba, u)});
    const Position w = minus(cd, {u[0] * dot(cd, u), u[1] * dot(cd, u), u[2] * dot(cd, u)});
    const double dihedral = std::atan2(dot(cross(u, v), w), dot(v, w));
    return {std::sqrt(dot(cd, cd)), degrees(angle), degrees(dihedral)};
}

TEST(corpus_job, every_file_reads_whole_with_errors_only_where_mopac_stops) {
    const std::vector<std::string> files = corpus_files();
    if (files.empty()) GTEST_SKIP() << "\n*** SKIPPED: no corpus under " VESK_CORPUS_DIR " ***";
    std::size_t clean = 0;
    std::string in_error;
    for (const std::string& name : files) {
        SCOPED_TRACE(name);
        const std::string path = VESK_CORPUS_DIR "/" + name;
        const MopacJob job = read_job_file(path);
        // Every byte is in one line, and every line has a role MOPAC gives it;
        // the blank lines between and behind jobs are the only trailing ones.
        std::size_t covered = 0;
        for (const JobLine& line : job.lines()) {
            covered += line.length + (line.end == LineEnd::crlf ? 2 : line.end == LineEnd::none ? 0 : 1);
            if (line.role == LineRole::trailing) {
                const std::string_view text = std::string_view(job.text()).substr(line.offset, line.length);
                EXPECT_EQ(text.find_first_not_of(" \t"), std::string_view::npos) << "unexplained: " << text;
            }
        }
        EXPECT_EQ(covered, job.text().size());
        if (job.has_errors()) {
            const Diagnostic& first = *std::find_if(job.diagnostics().begin(), job.diagnostics().end(),
                                                    [](const Diagnostic& d) { return d.severity == Severity::error; });
            in_error += "  " + name + ":" + std::to_string(first.line) + ": " + first.message + "\n";
        } else {
            ++clean;
        }
    }
    std::cout << files.size() - clean << " files in error:\n" << in_error;
    EXPECT_GE(clean, 1480u);
}

TEST(corpus_job, placed_atoms_give_back_their_internal_coordinates) {
    const std::vector<std::string> files = corpus_files();
    if (files.empty()) GTEST_SKIP() << "\n*** SKIPPED: no corpus under " VESK_CORPUS_DIR " ***";
    std::size_t checked = 0;
    for (const std::string& name : files) {
        const MopacJob job = read_job_file(VESK_CORPUS_DIR "/" + name);
        for (std::size_t k = 0; k < job.jobs().size(); ++k) {
            if (job.geometry(k).atoms.empty()) continue;
            std::vector<detail::ParsedAtom> atoms;
            std::vector<std::size_t> lines;
            detail::reread_atoms(job, k, true, atoms, &lines, nullptr);
            const Job& current = job.jobs()[k];
            const double factor = detail::length_factor(current);
            std::vector<Position> positions;
            std::size_t failed = 0;
            ASSERT_TRUE(detail::place_atoms(atoms, factor, positions, failed));
            // What the reading kept (Cartesian positions taken as read) is what placing gives.
            const vesk::core::Geometry kept = job.geometry(k);
            std::size_t a = 0;
            for (std::size_t i = 0; i < atoms.size(); ++i) {
                if (!detail::is_kept_atom(atoms[i].atomic_number)) continue;
                ASSERT_LT(a, kept.atoms.size());
                EXPECT_TRUE(kept.atoms[a].x == positions[i][0] && kept.atoms[a].y == positions[i][1] &&
                            kept.atoms[a].z == positions[i][2]) << name;
                ++a;
            }
            EXPECT_EQ(a, kept.atoms.size());
            // Streamed one by one, the same atoms: dummies and translation vectors among them.
            std::size_t streamed = 0;
            ASSERT_TRUE(job.for_each_atom(k, [&](int number, const std::array<double, 3>& at) {
                ASSERT_LT(streamed, atoms.size());
                EXPECT_TRUE(number == atoms[streamed].atomic_number && at == positions[streamed]) << name;
                ++streamed;
            }));
            EXPECT_EQ(streamed, atoms.size()) << name;
            for (std::size_t i = 3; i < atoms.size(); ++i) {
                const detail::ParsedAtom& atom = atoms[i];
                if (!atom.internal) continue;
                const auto at = [&](int k2) { return positions[static_cast<std::size_t>(atom.connectivity[k2] - 1)]; };
                const std::array<double, 3> found = internal_of(positions[i], at(0), at(1), at(2));
                SCOPED_TRACE(name + ":" + std::to_string(lines[i] + 1));
                ++checked;
                EXPECT_NEAR(found[0], atom.values[0] * factor, 1e-9);
                if (atom.values[0] == 0.0) continue;  // a bond of no length has no angle
                // Angles outside 0-180 fold back; a straight angle leaves no dihedral.
                const double angle = std::fabs(std::remainder(atom.values[1], 360.0));
                EXPECT_NEAR(found[1], angle, 1e-7);
                const Position cb = minus(at(1), at(0));
                const Position ab = minus(at(2), at(1));
                const bool collinear = std::sqrt(dot(cross(cb, ab), cross(cb, ab))) < 1e-4 * std::sqrt(dot(cb, cb));
                if (collinear || std::sin(found[1] * M_PI / 180.0) < 1e-6) continue;
                const double sign = std::remainder(atom.values[1], 360.0) < 0 ? -1.0 : 1.0;
                EXPECT_NEAR(std::remainder(found[2] - sign * atom.values[2] + (sign < 0 ? 180.0 : 0.0), 360.0), 0.0,
                            1e-7);
            }
        }
    }
    EXPECT_GT(checked, 40000u);
}

}  // namespace
}  // namespace vesk::input::mopac
