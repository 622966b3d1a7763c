#pragma once

// What the server answers: from one state of the tree alone, nothing is read or written here.

#include "raidtree/redfish.h"
#include "raidtree/render.h"

#include <string>

namespace raidtree {

// One state of the tree, and everything that is made of it.
struct Publication {
    bool hasTree = false;
    std::string tree; // the file
    std::string page, json, metrics;
    RedfishResources redfish;
};

Publication publishServer(std::string tree, const Report& report, const States& states);
Publication publishTrouble(const std::string& why); // there is no tree

struct Question {
    std::string method, path, ifNoneMatch;
};

struct Answer {
    int status = 200;
    std::string type, body;
    std::string etag, allow; // empty: none
};

// GET and HEAD have the same answer; whoever sends it leaves out the body.
Answer answerTo(const Question& question, const Publication& publication);

} // namespace raidtree
