// Plain atom and geometry records shared across the product.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace vesk::core {

/// One atom: an element symbol as written and its Cartesian position.
struct Atom {
    std::string element;
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

    Atom() = default;
    Atom(std::string element_, double x_, double y_, double z_)
        : element(std::move(element_)), x(x_), y(y_), z(z_) {}
};

/// A list of atoms in atom order; an empty list is a valid geometry.
struct Geometry {
    std::vector<Atom> atoms;
};

}  // namespace vesk::core
