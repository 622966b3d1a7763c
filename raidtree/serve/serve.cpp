#include "raidtree/serve/serve.h"

#include "raidtree/serve/follower.h"
#include "raidtree/serve/server.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

namespace raidtree {

void serveTree(const std::string& address, const std::string& tree, const std::function<Publication()>& look) {
    const Listener listener = listenAt(address);
    sigset_t ends; // before there are threads
    sigemptyset(&ends);
    sigaddset(&ends, SIGTERM);
    sigaddset(&ends, SIGINT);
    pthread_sigmask(SIG_BLOCK, &ends, nullptr);
    const Follower follower(tree, look);
    printf("http://%s/\n", listener.address.c_str());
    if (!listener.isLoopback)
        puts("Whoever reaches this address can read what the tree says of this server: names, serial numbers, states.\n"
             "Nobody is asked for a password, and nothing is encrypted. Nothing can be changed.");
    if (fflush(stdout) != 0) throw InputError(std::string("standard output: ") + strerror(errno));
    serveUntilSignal(listener, [&] { return follower.latest(); });
}

} // namespace raidtree
