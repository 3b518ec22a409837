// MOPAC's placement of atoms. Atom 1 stands where it is written; atom 2 on
// the x axis from it; atom 3 in the xy plane; every later internal atom
// against its three reference atoms, with the IUPAC sign of the dihedral:
//   e1 = unit(B - C), e2 = unit part of (A - C) normal to e1, e3 = e1 x e2,
//   position = C + r cos(a) e1 + r sin(a) cos(d) e2 - r sin(a) sin(d) e3.
#include "job/placement.hpp"

#include <cmath>

#include "job/elements.hpp"
#include "text/numbers.hpp"

namespace vesk::input::mopac::detail {
namespace {

constexpr double coincident_distance = 1e-8;  // Å: reference atoms closer than this fail
constexpr double near_z_axis = 0.009;         // Å: bonds this close to z are built with x and z swapped
constexpr double collinear_distance = 1e-4;   // Å: a third reference this close to the bond gives no plane

Position place_against(const Position& c, const Position& b, const Position& a, double r, double angle,
                       double dihedral);
Position minus(const Position& p, const Position& q) noexcept { return {p[0] - q[0], p[1] - q[1], p[2] - q[2]}; }
double norm(const Position& p) noexcept { return std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]); }

}  // namespace

std::vector<std::size_t> ill_defined_atoms(const std::vector<ParsedAtom>& atoms) {
    std::vector<std::size_t> faulty;
    const auto count = static_cast<long long>(atoms.size());
    for (std::size_t index = 0; index < atoms.size(); ++index) {
        const ParsedAtom& atom = atoms[index];
        if (!atom.internal) continue;
        const long long i = static_cast<long long>(index) + 1;
        const long long na = atom.connectivity[0];
        const long long nb = atom.connectivity[1];
        const long long nc = atom.connectivity[2];
        bool bad = na == nb || (i > 2 && (na == nc || nb == nc)) || (i > 3 && (nb == 0 || nc == 0));
        const long long used = i == 2 ? 1 : (i == 3 ? 2 : 3);  // references the placement reads
        for (long long k = 0; k < used && !bad; ++k) {
            const long long reference = atom.connectivity[k];
            if (reference < 1 || reference > count) bad = true;
            // A later atom may be referred to only when it is Cartesian, so placed first.
            if (!bad && reference >= i && atoms[static_cast<std::size_t>(reference - 1)].internal) bad = true;
        }
        if (bad) faulty.push_back(index);
    }
    return faulty;
}

bool place_atoms(const std::vector<ParsedAtom>& atoms, double length_factor, std::vector<Position>& positions,
                 std::size_t& failed) {
    positions.assign(atoms.size(), Position{0.0, 0.0, 0.0});
    // Cartesian atoms first, wherever they stand.
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        const ParsedAtom& atom = atoms[i];
        if (!atom.internal || (i == 1 && atom.connectivity[0] != 1)) {
            positions[i] = {atom.values[0] * length_factor, atom.values[1] * length_factor,
                            atom.values[2] * length_factor};
        }
    }
    const auto at = [&positions](long long reference) -> const Position& {
        return positions[static_cast<std::size_t>(reference - 1)];
    };
    for (std::size_t i = 1; i < atoms.size(); ++i) {
        const ParsedAtom& atom = atoms[i];
        if (!atom.internal) continue;
        const double r = atom.values[0] * length_factor;
        const double angle = atom.angle_in_radians ? atom.values[1] : atom.values[1] * degree;
        if (i == 1) {
            if (atom.connectivity[0] == 1) positions[1] = {positions[0][0] + r, positions[0][1], positions[0][2]};
        } else if (i == 2) {
            // Atom 3 mixes the two atoms before it as MOPAC does: x from the
            // atom it is bonded to, y and z from atom 2.
            const Position& first = positions[0];
            const Position& second = positions[1];
            positions[2] = atom.connectivity[0] == 1
                               ? Position{first[0] + r * std::cos(angle), second[1] + r * std::sin(angle), second[2]}
                               : Position{second[0] - r * std::cos(angle), second[1] + r * std::sin(angle), second[2]};
        } else {
            const Position& c = at(atom.connectivity[0]);
            const Position& b = at(atom.connectivity[1]);
            const Position& a = at(atom.connectivity[2]);
            if (norm(minus(b, c)) < coincident_distance) {
                failed = i;
                return false;
            }
            positions[i] = place_against(c, b, a, r, angle, atom.values[2] * degree);
        }
    }
    return true;
}

bool read_symmetry_line(std::string_view view, SymmetryLine& line, bool& ends_data, std::string& reason) {
    line = SymmetryLine{};
    std::vector<double> numbers;
    std::size_t at = 0;
    for (;;) {
        double value = 0.0;
        std::size_t end = 0;
        if (!read_number_in_line(view, at, value, end)) break;
        numbers.push_back(value);
        at = end;
    }
    ends_data = numbers.size() >= 3 && numbers[2] == 0.0;
    if (numbers.size() < 3) {
        reason = "fewer than three numbers";
        return false;
    }
    line.reference = round_to_integer(numbers[0]);
    line.function = round_to_integer(numbers[1]);
    std::size_t first_dependent = 2;
    if (line.function == 19) {
        line.multiplier = numbers[2];
        first_dependent = 3;
    }
    for (std::size_t k = first_dependent; k < numbers.size(); ++k) {
        const long long dependent = round_to_integer(numbers[k]);
        if (dependent == 0) break;  // the list ends at 0
        line.dependents.push_back(dependent);
    }
    return true;
}

bool apply_symmetry(const SymmetryLine& line, double depvar, std::vector<ParsedAtom>& atoms, std::string& reason) {
    const auto count = static_cast<long long>(atoms.size());
    if (line.reference < 1 || line.reference > count) {
        reason = "no atom " + std::to_string(line.reference);
        return false;
    }
    const ParsedAtom& reference = atoms[static_cast<std::size_t>(line.reference - 1)];
    for (long long number : line.dependents) {
        if (number < 1 || number > count) {
            reason = "no atom " + std::to_string(number);
            return false;
        }
        ParsedAtom& dependent = atoms[static_cast<std::size_t>(number - 1)];
        const double r = reference.values[0];
        const double angle = reference.values[1];
        const double dihedral = reference.values[2];
        if (!reference.internal) {
            // Cartesian functions 1-18: a coordinate set to one of the
            // reference's, or its negative, in cycles of three:
            // 1-3 x=x y=y z=z, 4-6 their negatives, 7-9 x=y y=z z=x,
            // 10-12 their negatives, 13-15 x=z y=x z=y, 16-18 their negatives.
            if (line.function < 1 || line.function > 18) {
                reason = "no Cartesian symmetry function " + std::to_string(line.function);
                return false;
            }
            const auto k = static_cast<int>(line.function - 1);
            const int target = k % 3;
            const int shift = k / 6;  // 0: same axis, 1: the next one, 2: the one after
            const double sign = (k / 3) % 2 == 0 ? 1.0 : -1.0;
            dependent.values[target] = sign * reference.values[(target + shift) % 3];
            continue;
        }
        switch (line.function) {
            case 1: dependent.values[0] = r; break;
            case 2: dependent.values[1] = angle; break;
            case 3: dependent.values[2] = dihedral; break;
            case 4: dependent.values[2] = 90.0 - dihedral; break;
            case 5: dependent.values[2] = 90.0 + dihedral; break;
            case 6: dependent.values[2] = 120.0 - dihedral; break;
            case 7: dependent.values[2] = 120.0 + dihedral; break;
            case 8: dependent.values[2] = 180.0 - dihedral; break;
            case 9: dependent.values[2] = 180.0 + dihedral; break;
            case 10: dependent.values[2] = 240.0 - dihedral; break;
            case 11: dependent.values[2] = 240.0 + dihedral; break;
            case 12: dependent.values[2] = 270.0 - dihedral; break;
            case 13: dependent.values[2] = 270.0 + dihedral; break;
            case 14: dependent.values[2] = -dihedral; break;
            case 15: dependent.values[0] = r / 2.0; break;
            case 16: dependent.values[1] = angle / 2.0; break;
            case 17: dependent.values[1] = 180.0 - angle; break;
            case 18: dependent.values[0] = r * depvar; break;
            case 19: dependent.values[0] = r * line.multiplier; break;
            default:
                reason = "no symmetry function " + std::to_string(line.function);
                return false;
        }
    }
    return true;
}

namespace {

Position place_against(const Position& c, const Position& b, const Position& a, double r, double angle,
                       double dihedral) {
    // Bonds close to the z axis are built in a frame turned about y, so that
    // the fallback plane of a collinear reference stays defined.
    const Position bond = minus(b, c);
    const bool turned = std::hypot(bond[0], bond[1]) <= near_z_axis;
    const auto turn = [turned](const Position& p) { return turned ? Position{p[2], p[1], -p[0]} : p; };
    const Position e1_raw = turn(bond);
    const double bond_length = norm(e1_raw);
    const Position e1 = {e1_raw[0] / bond_length, e1_raw[1] / bond_length, e1_raw[2] / bond_length};
    const Position to_a = turn(minus(a, c));
    const double along = to_a[0] * e1[0] + to_a[1] * e1[1] + to_a[2] * e1[2];
    Position e2 = {to_a[0] - along * e1[0], to_a[1] - along * e1[1], to_a[2] - along * e1[2]};
    double e2_length = norm(e2);
    if (e2_length < collinear_distance) {
        e2 = {-e1[1], e1[0], 0.0};
        e2_length = norm(e2);
    }
    e2 = {e2[0] / e2_length, e2[1] / e2_length, e2[2] / e2_length};
    const Position e3 = {e1[1] * e2[2] - e1[2] * e2[1], e1[2] * e2[0] - e1[0] * e2[2], e1[0] * e2[1] - e1[1] * e2[0]};
    const double along_bond = r * std::cos(angle);
    const double in_plane = r * std::sin(angle) * std::cos(dihedral);
    const double out_of_plane = -r * std::sin(angle) * std::sin(dihedral);
    Position offset;
    for (int k = 0; k < 3; ++k) offset[k] = along_bond * e1[k] + in_plane * e2[k] + out_of_plane * e3[k];
    if (turned) offset = {-offset[2], offset[1], offset[0]};
    return {c[0] + offset[0], c[1] + offset[1], c[2] + offset[2]};
}

}  // namespace
}  // namespace vesk::input::mopac::detail
