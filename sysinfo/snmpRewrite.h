#pragma once

// snmpd's configuration: it is told of this file when it is registered.
inline constexpr char SNMP_CONF_FILE[] = "/conf/snmp_users.conf";

// Replaces every line of snmpd's configuration that contains the key by "key<tab>value", or appends that line.
// The new file is complete and on the disk before it takes the old one's place in one step, with its owner and
// mode. 0, or -1: the old file stays as it was.
int rewriteSnmpConf(const char* key, const char* value);
