// The properties that every object starts with. They must exist before a plug-in asks: to a name that is not there a
// strict host answers kOfxStatErrUnknown, and wrappers of plug-ins throw on that.
#pragma once

#include "host/parameters.h"
#include "host/property_set.h"

#include <span>
#include <vector>

namespace tarnwell {

std::span<const PropertyRow> hostRows();
std::span<const PropertyRow> effectRows();
std::span<const PropertyRow> instanceRows();     // beyond those, an instance falls through to its descriptor
std::span<const PropertyRow> clipRows();         // of a descriptor
std::span<const PropertyRow> clipInstanceRows(); // what an instance has besides
std::span<const PropertyRow> imageRows();
// The rows of a parameter type: those of all parameters, of values, of numbers and of the type itself.
std::vector<PropertyRow> parameterRows(const ParameterKind& kind);

} // namespace tarnwell
