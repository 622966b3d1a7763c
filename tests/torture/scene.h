#pragma once

// A daemon that uses every file it has: snmpd's configuration, the tree, both logs and the trace. The machine passes
// through numbered states, which show in the tree's name and in the three values of the configuration.

#include "tests/endToEnd/daemonProcess.h"

#include <array>

inline constexpr char CONF[] = "conf/snmp_users.conf";
inline constexpr char NEW_CONF[] = "conf/snmpd.new";

// The states that contact, location and name in the configuration are of, in the order in which they are written.
using ConfStates = std::array<int, 3>;
inline constexpr int OLD = -1; // the state before the daemon's start

class Scene : public DaemonProcess {
  public:
    void layFiles() const;
    void change(int state);

    // These throw what is not as it has to be.
    ConfStates confStates() const; // that is whole
    void demandNoLocks() const;
    void demandPublished(int state) const;
    void demandNoFaults() const;
};

void demand(bool met, const std::string& complaint);
