#include "raidtree/serve/serve.h"

namespace raidtree {

void serveTree(const std::string& /*address*/, const std::string& /*tree*/,
               const std::function<Publication()>& /*look*/) {
    throw InputError("serve: this raidtree was built without an HTTP library");
}

} // namespace raidtree
