#pragma once

// The identity that snmpd shows (sysName, sysLocation, sysContact), kept in step with the parameter database
// through the lines of snmpd's configuration file.

#include <cstddef>

// Once a minute: supervises snmpd, and tells it to reload when one of its values changed.
void syncSnmpConfig();

// The first field of the first line of the configuration that contains the key; malloc'ed, the caller's. NULL: no
// such line. A line whose key and value a tab separates gives the key alone.
char* readSnmpConfValue(const char* key);

// Brings the key's lines up to a value (NULL: empty), cleaned first, that differs from the one known. Sets *changed
// when the file was rewritten, and the first time that a value could not be written: each reload is a trap to every
// sink. 0, or -1 when the new file could not be put in place: the old one stays then, and the next call tries again.
int updateSnmpValue(const char* key, const char* value, int* changed);

// Makes a text from outside fit for a line of the configuration, in place: at most 255 bytes, cut between
// characters; control characters, a newline above all, become blanks; outer blanks go.
void cleanSnmpValue(char* text);
