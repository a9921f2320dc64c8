// Files that parameters name, checked before a frame is rendered: a plug-in may pass over a LUT that it cannot read
// without a word.
#pragma once

#include "host/parameters.h"
#include "program/exit_codes.h"

namespace tarnwell {

// Every file parameter that is set must name a readable file; one that ends with .cube must be a table that the
// plug-in's own strict reader takes. Throws CommandError (Failure) naming parameter, file, line and reason.
void checkLutFiles(const ParameterSet& parameters);

} // namespace tarnwell
