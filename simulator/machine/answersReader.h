#pragma once

// Reads the member "answers" of a machine file.

#include "simulator/machine/machine.h"

namespace sim {

struct Node;

void readAnswers(const Node& node, Machine& machine);

} // namespace sim
