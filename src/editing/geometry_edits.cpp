// Geometry edits: replace the coordinate block or append atoms, vectors and records.
#include <utility>
#include <vector>

#include "vesk/core/geometry.hpp"
#include "vesk/input/mopac/editor.hpp"

namespace vesk::input::mopac {

void InputEditor::set_geometry(const std::vector<CoordinateRecord>& records) { document.coordinates = records; }

// Translation vectors and raw lines of the old block go too; the trailing lines stay.
void InputEditor::set_geometry(const vesk::core::Geometry& geometry, bool optimize) {
    document.coordinates.clear();
    document.coordinates.reserve(geometry.atoms.size());
    for (const auto& atom : geometry.atoms) add_atom(atom, optimize);
}

void InputEditor::add_coordinate(const CoordinateRecord& record) { document.coordinates.push_back(record); }

// One flag for the whole atom, always written: "C 1 1 2 1 3 1" or "C 1 0 2 0 3 0".
void InputEditor::add_atom(const vesk::core::Atom& atom, bool optimize) {
    const int flag = optimize ? 1 : 0;
    CoordinateRecord record;
    record.kind = CoordinateKind::Atom;
    record.element = atom.element;
    record.x = atom.x;
    record.y = atom.y;
    record.z = atom.z;
    record.has_optimization_flags = true;
    record.optimize_x = flag;
    record.optimize_y = flag;
    record.optimize_z = flag;
    document.coordinates.push_back(std::move(record));
}

// The kind alone makes the "Tv" label; the element stays empty.
void InputEditor::add_translation_vector(double x, double y, double z) {
    CoordinateRecord record;
    record.kind = CoordinateKind::TranslationVector;
    record.x = x;
    record.y = y;
    record.z = z;
    document.coordinates.push_back(std::move(record));
}

}  // namespace vesk::input::mopac
