#pragma once

// The server as resources of Redfish. docs/redfish.md tells what becomes of each element of the tree.

#include "raidtree/render.h"

#include <map>
#include <string>
#include <string_view>

namespace raidtree {

// JSON texts by their paths, "/redfish" to "/redfish/v1/Chassis/enclosure-0-1/Fans/2", without a slash at the end.
// Every path that stands in one of them is there.
using RedfishResources = std::map<std::string, std::string, std::less<>>;
RedfishResources redfishResources(const Report& report, const States& states);

// "/redfish/v1/Systems/" is the same as without the slash.
const std::string* findResource(const RedfishResources& resources, std::string_view path);

// The body of an answer that is none: 404, 405 and others.
std::string redfishError(int status, const std::string& path);

} // namespace raidtree
