// The atom list of a MopacInput: its Atom records, in order, as written.
#include "vesk/core/geometry.hpp"
#include "vesk/input/mopac/document.hpp"

namespace vesk::input::mopac {

vesk::core::Geometry MopacInput::cartesian_geometry() const {
    vesk::core::Geometry geometry;
    for (const auto& record : coordinates) {
        if (record.kind == CoordinateKind::Atom) {
            geometry.atoms.emplace_back(record.element, record.x, record.y, record.z);
        }
    }
    return geometry;
}

}  // namespace vesk::input::mopac
