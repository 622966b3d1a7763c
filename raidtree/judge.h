#pragma once

// How well an object is. Health is made of the elements; what the tree itself sums up counts only where no element
// explains why it is as bad as that.

#include "raidtree/server.h"
#include "raidtree/states.h"
#include "raidtree/walk.h"

#include <string>
#include <vector>

namespace raidtree {

struct Finding {
    Severity severity;
    std::string field; // key of the value
    std::string says;
    bool isUnknown = false; // a state's text that nobody has given a meaning
};

struct Verdict {
    Severity severity = Severity::ok;
    std::vector<Finding> findings; // warnings and worse, of what is worth a note also infos

    void add(Finding finding);
    std::string says(Severity least) const; // "Failed, media errors 12"
};

struct Problem { // of one object
    Severity severity;
    std::string kind, label, title, says;
    Place place;
    std::vector<Finding> findings; // that are problems
};

// By states and numbers of the record itself.
template <class Record>
Verdict judge(const Record& record, const States& states);

// The same with what it sums up itself: of an adapter volumes and battery, of an enclosure its elements.
template <class Record>
Severity severityOf(const Record& record, const States& states);

// The worst first, then drives and volumes, then in the order of the tree.
std::vector<Problem> findProblems(const Server& server, const States& states);
void sortProblems(std::vector<Problem>& problems);

struct Counts {
    size_t critical = 0, warnings = 0, volumes = 0, drives = 0;
};
Counts countAll(const Server& server, const std::vector<Problem>& problems);

// "1 drive", "2 drives"
std::string countedText(size_t count, const char* what);

// "2 problems: drive 0/19 Failed, volume 0/0 Partially Degraded", with at most `most` of them; "no problems".
std::string problemsText(const std::vector<Problem>& problems, size_t most);

} // namespace raidtree
