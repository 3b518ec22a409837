// The proof of an edit: the edited text, read again as MOPAC reads it, holds
// the same jobs and atoms, every line MOPAC read as it was unless an edit
// was asked of it, the keywords, method, charge, spin, AUX options, title and
// description as asked, and no error the input did not have.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "editing/job_plan.hpp"
#include "job/reader.hpp"
#include "job/text_lines.hpp"
#include "mopac/tables.hpp"
#include "text/numbers.hpp"
#include "text/keyword_scan.hpp"
#include "vesk/input/mopac/catalogue.hpp"
#include "vesk/input/mopac/check.hpp"
#include "vesk/input/mopac/document.hpp"

namespace vesk::input::mopac::detail {
namespace {

std::string lines_difference(const MopacJob& before, const MopacJob& after, const JobEditor::Plan& plan);
std::string job_difference(const MopacJob& before, const MopacJob& after, std::size_t k, const PlannedJob& plan);
std::string atoms_difference(const MopacJob& before, const MopacJob& after, std::size_t k);
std::string new_error(const MopacJob& before, const MopacJob& after);
std::string quoted(std::string_view text) { return "\"" + std::string(text) + "\""; }
std::string joined(const std::vector<std::string>& words);

}  // namespace

std::string edit_difference(const MopacJob& before, const MopacJob& after, const JobEditor::Plan& plan,
                            bool allow_new_errors) {
    if (after.jobs().size() != before.jobs().size()) {
        return "MOPAC would read " + std::to_string(after.jobs().size()) + " jobs in the edited text, not " +
               std::to_string(before.jobs().size());
    }
    std::string difference = lines_difference(before, after, plan);
    for (std::size_t k = 0; difference.empty() && k < before.jobs().size(); ++k) {
        difference = job_difference(before, after, k, plan.jobs[k]);
        if (!difference.empty()) break;
        difference = atoms_difference(before, after, k);
    }
    if (difference.empty() && !allow_new_errors) difference = new_error(before, after);
    return difference;
}

namespace {

// Every line keeps its role and job, and every line that is no keyword,
// title or description line its bytes. Laid out anew, keyword lines may come
// and go: the other lines are compared in order.
std::string lines_difference(const MopacJob& before, const MopacJob& after, const JobEditor::Plan& plan) {
    const JobLines& old_lines = before.lines();
    const JobLines& new_lines = after.lines();
    // The next line at or behind `i` that is compared: keyword lines laid out anew are not.
    const auto compared = [&plan](const JobLines& lines, std::size_t i) {
        while (plan.layout_width && i < lines.size() && lines.role(i) == LineRole::keywords) ++i;
        return i;
    };
    std::size_t o = compared(old_lines, 0);
    std::size_t n = compared(new_lines, 0);
    for (; o < old_lines.size() || n < new_lines.size(); o = compared(old_lines, o + 1), n = compared(new_lines, n + 1)) {
        if (o >= old_lines.size() || n >= new_lines.size()) {
            return "MOPAC would read the edited text in " + std::to_string(new_lines.size()) + " lines, not " +
                   std::to_string(old_lines.size());
        }
        const JobLine old_line = old_lines[o];
        const JobLine new_line = new_lines[n];
        const std::size_t number = o + 1;
        if (old_line.role != new_line.role || old_line.job != new_line.job) {
            return "MOPAC would read line " + std::to_string(number) + " otherwise after this edit";
        }
        const bool head_text = old_line.role == LineRole::title || old_line.role == LineRole::description ||
                               old_line.role == LineRole::keywords;
        if (!head_text && (before.line_text(number) != after.line_text(n + 1) || old_line.end != new_line.end)) {
            return "the edit would change line " + std::to_string(number) + ", which holds no keywords";
        }
    }
    return {};
}

const JobKeyword* only_one(const Job& job, std::string_view name, std::size_t& count) {
    const JobKeyword* found = nullptr;
    count = 0;
    for (const JobKeyword& keyword : job.keywords) {
        if (normalize_keyword_name(keyword.text) != name) continue;
        if (found == nullptr) found = &keyword;
        ++count;
    }
    return found;
}

std::string job_difference(const MopacJob& before, const MopacJob& after, std::size_t k, const PlannedJob& plan) {
    const std::string job_name = "job " + std::to_string(k + 1) + ": ";
    const Job& old_job = before.jobs()[k];
    const Job& new_job = after.jobs()[k];
    const AskedSettings& asked = plan.asked;
    std::vector<std::string> found;
    for (const JobKeyword& keyword : new_job.keywords) found.push_back(keyword.text);
    const std::vector<std::string> expected = expected_keywords(before, k, plan);
    for (std::size_t i = 0; found != expected && i < after.lines().size(); ++i) {
        const JobLine& line = after.lines()[i];
        if (line.job == k && line.role == LineRole::keywords && line.length > mopac_line_limit) {
            return job_name + "line " + std::to_string(i + 1) + " would be longer than the " +
                   std::to_string(mopac_line_limit) + " bytes MOPAC reads of a line";
        }
    }
    if (found != expected) {
        std::size_t length = 0;
        for (const std::string& word : expected) length += word.size() + 1;
        if (length > keyword_string_limit) {
            return job_name + "the keywords would be longer than the " + std::to_string(keyword_string_limit) +
                   " bytes MOPAC keeps";
        }
        return job_name + "MOPAC would read the keywords as " + joined(found) + ", not " + joined(expected);
    }
    if (asked.method) {
        std::vector<std::string> methods;
        for (const std::string& word : found) {
            if (is_mopac_method(normalize_keyword_name(word))) methods.push_back(normalize_keyword_name(word));
        }
        if (methods != std::vector<std::string>{*asked.method}) {
            return job_name + "MOPAC would read the methods " + joined(methods) + ", not " + *asked.method;
        }
    }
    std::size_t count = 0;
    if (asked.charge) {
        const JobKeyword* charge = only_one(new_job, "CHARGE", count);
        const std::string value = charge == nullptr ? "0" : std::string(keyword_value_part(charge->text));
        if (count > 1) return job_name + "CHARGE would be given " + std::to_string(count) + " times, not once";
        if (value != *asked.charge) return job_name + "MOPAC would read the charge as " + value + ", not " + *asked.charge;
    }
    if (asked.multiplicity) {
        std::vector<std::string> spins;
        unsigned int stated = 0;
        for (const std::string& word : found) {
            const std::string name = normalize_keyword_name(word);
            if (!is_spin_keyword(name)) continue;
            spins.push_back(word);
            if (spin_state_multiplicity(name) != 0) stated = spin_state_multiplicity(name);
            double ms = 0.0;
            const std::string_view value = keyword_value_part(word);
            std::size_t end = 0;
            if (name == "MS" && read_number_in_line(value, 0, ms, end) && end == value.size() && ms >= 0 && ms < 1e9) {
                stated = static_cast<unsigned int>(2 * ms + 1.5);
            }
        }
        if (spins.size() != 1 || stated != *asked.multiplicity) {
            return job_name + "MOPAC would read the spin from " + joined(spins) + ", not multiplicity " +
                   std::to_string(*asked.multiplicity);
        }
    }
    if (asked.aux_precision || asked.aux_cleared) {
        const JobKeyword* aux = only_one(new_job, "AUX", count);
        if (asked.aux_cleared && count > 0) return job_name + "an AUX keyword would remain";
        if (asked.aux_precision) {
            bool right = false;
            std::vector<std::string> options;
            if (aux != nullptr && aux->text.find('(') != std::string::npos) {
                std::string_view inside = std::string_view(aux->text).substr(aux->text.find('(') + 1);
                if (!inside.empty() && inside.back() == ')') inside.remove_suffix(1);
                for_each_list_item(inside, [&options](std::string_view item) { options.emplace_back(item); });
            }
            for (const std::string& option : options) right = right || option == "PRECISION=" + std::to_string(*asked.aux_precision);
            for (const char* extra : {"XP", "XS", "XW"}) {
                bool present = false;
                for (const std::string& option : options) present = present || option == extra;
                right = right && (present || !asked.aux_extras);
            }
            if (count != 1 || !right) return job_name + "MOPAC would not read the AUX options as asked";
        }
    }
    for (const std::string& name : asked.absent) {
        if (new_job.has_keyword(name)) return job_name + name + " would remain";
    }
    for (const std::string& word : asked.present) {
        bool there = false;
        for (const std::string& standing : found) there = there || standing == word;
        if (!there) return job_name + "MOPAC would not read " + word;
    }
    const auto head_text = [&](const JobText& old_text, const JobText& new_text, const std::optional<std::string>& wanted,
                               const char* what) -> std::string {
        if (wanted) {
            if (new_text.text != *wanted) {
                return job_name + "MOPAC would read the " + what + " as " + quoted(new_text.text) +
                       (wanted->size() > head_text_limit ? " (it keeps " + std::to_string(head_text_limit) + " bytes)" : "");
            }
            return {};
        }
        if (before.line_text(old_text.line) != after.line_text(new_text.line) || old_text.text != new_text.text) {
            return job_name + "the " + what + " would change";
        }
        return {};
    };
    std::string difference = head_text(old_job.title, new_job.title, asked.title, "title");
    if (difference.empty()) difference = head_text(old_job.description, new_job.description, asked.description, "description");
    return difference;
}

// The atoms as their count and a 64-bit FNV-1a hash of each element and the
// bits of its position; where a job cannot be placed, its atom records.
std::pair<std::size_t, std::uint64_t> atoms_digest(const MopacJob& job, std::size_t k) {
    std::uint64_t hash = 14695981039346656037ull;
    const auto mix = [&hash](const void* data, std::size_t size) {
        const auto* bytes = static_cast<const unsigned char*>(data);
        for (std::size_t i = 0; i < size; ++i) hash = (hash ^ bytes[i]) * 1099511628211ull;
    };
    const vesk::core::Geometry geometry = job.geometry(k);
    for (const vesk::core::Atom& atom : geometry.atoms) {
        mix(atom.element.data(), atom.element.size() + 1);  // with the terminator: "C" "l" is not "Cl"
        for (const double value : {atom.x, atom.y, atom.z}) mix(&value, sizeof value);
    }
    for (const auto& vector : job.translation_vectors(k)) mix(vector.data(), sizeof(double) * 3);
    if (!geometry.atoms.empty()) return {geometry.atoms.size(), hash};
    const std::vector<JobAtom> atoms = job.atoms(k);
    for (const JobAtom& atom : atoms) {
        mix(&atom.atomic_number, sizeof atom.atomic_number);
        mix(atom.values.data(), sizeof(double) * 3);
        mix(atom.flags.data(), sizeof(int) * 3);
        mix(atom.connectivity.data(), sizeof(std::size_t) * 3);
    }
    return {atoms.size(), hash};
}

std::vector<std::string_view> reading_words(const Job& job) {
    std::vector<std::string_view> words;
    for (const JobKeyword& keyword : job.keywords) {
        if (detail::steers_reading(keyword.text)) words.push_back(keyword.text);
    }
    return words;
}

// Called once every line but the keyword, title and description lines is
// known to be as it was.
std::string atoms_difference(const MopacJob& before, const MopacJob& after, std::size_t k) {
    const Job& old_job = before.jobs()[k];
    const Job& new_job = after.jobs()[k];
    if (reading_words(old_job) == reading_words(new_job) && old_job.source == new_job.source &&
        old_job.bohr == new_job.bohr && old_job.counts.by_atomic_number == new_job.counts.by_atomic_number) {
        return {};
    }
    if (atoms_digest(before, k) == atoms_digest(after, k)) return {};
    return "job " + std::to_string(k + 1) + ": MOPAC would read or place the atoms otherwise after this edit";
}

// The first error of `after` whose kind `before` has fewer of.
std::string new_error(const MopacJob& before, const MopacJob& after) {
    std::map<std::string, std::size_t> known;
    for (const Diagnostic& d : check_job(before)) {
        if (d.severity == Severity::error) ++known[d.code];
    }
    for (const Diagnostic& d : check_job(after)) {
        if (d.severity != Severity::error) continue;
        if (known[d.code] > 0) {
            --known[d.code];
            continue;
        }
        return "the edit gives an error the file did not have: line " + std::to_string(d.line) + ": " + d.message;
    }
    return {};
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : " | ") + word;
    return text;
}

}  // namespace
}  // namespace vesk::input::mopac::detail
