#pragma once

// What a machine file may say although no controller would: counts beyond their list, lists that disagree.

#include "simulator/machine/machine.h"
#include "simulator/machine/mistakes.h"

#include <string_view>
#include <vector>

namespace sim {

// `machine` is what `text` was read to. In the order of the file.
std::vector<Mistake> findDisagreements(const Machine& machine, std::string_view text);

} // namespace sim
