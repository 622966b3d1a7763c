#pragma once

// The read-only HTTP server: one thread that no client can hold up.

#include "raidtree/serve/answers.h"

#include <functional>
#include <memory>
#include <string>

namespace raidtree {

struct Listener {
    int fd = -1;
    std::string address; // "127.0.0.1:8080", with the port that was found for 0
    bool isLoopback = true;
};

// "ADDRESS:PORT", "[ADDRESS]:PORT". Throws InputError.
Listener listenAt(const std::string& address);

// Answers until SIGTERM or SIGINT, which the caller has blocked for all threads.
void serveUntilSignal(const Listener& listener, const std::function<std::shared_ptr<const Publication>()>& latest);

} // namespace raidtree
