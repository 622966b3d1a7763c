#pragma once

// raidtree serve. What stands behind this is chosen when linking: serve.cpp, or without.cpp where there is no HTTP
// library.

#include "raidtree/serve/answers.h"

#include <functional>
#include <string>

namespace raidtree {

// Answers at the address until SIGTERM or SIGINT; `look` reads the tree again and again. Throws InputError.
void serveTree(const std::string& address, const std::string& tree, const std::function<Publication()>& look);

} // namespace raidtree
