#pragma once

// Reads the member "answers" of a machine file.

#include "simulator/machine/machine.h"
#include "simulator/machine/memberTable.h"

namespace sim {

Form<std::map<std::string, AnswerRules, std::less<>>> answersForm();

} // namespace sim
