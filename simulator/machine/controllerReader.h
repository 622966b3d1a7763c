#pragma once

// Reads what a machine file says of controllers, their devices and logical drives.

#include "simulator/machine/machine.h"
#include "simulator/machine/memberTable.h"

namespace sim {

Form<std::shared_ptr<const Controllers>> controllersForm();
Json recordDefinitions(); // of the schema, by name

} // namespace sim
