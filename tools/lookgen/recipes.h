// The recipes of the embedded looks, in the order of their tables.
#pragma once

#include "tools/lookgen/film_model.h"

#include <array>

namespace lookgen {

extern const std::array<Recipe, 8> RECIPES;

} // namespace lookgen
