#pragma once

// Reads what a machine file says of the host: configuration items, agents, parameters, IPMI, in-band data, processes.

#include "simulator/machine/machine.h"
#include "simulator/machine/memberTable.h"

namespace sim {

Form<std::map<uint16_t, Bytes>> configSpaceForm();
Form<std::set<uint16_t>> writeFailuresForm();
Form<std::optional<Bytes>> agentsForm();
Form<ProcessMonitor> processMonitorForm();
Form<ParameterGroups> parametersForm();
Form<Ipmi> ipmiForm();
Form<Dqmi> dqmiForm();
Form<std::map<int32_t, std::vector<std::string>>> processesForm();

} // namespace sim
