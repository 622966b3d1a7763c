#pragma once

// The other source of the tree: its finished text, from the agents in the host's operating system.

// The text of the last in-band update; heap, NULL: none.
extern char* ibMRCache;

// Fetches the text into ibMRCache. NULL: no tree could be had. *changedDataFlag: 1 when it differs from the one
// before, and after a text too short for a tree. errText (DQMI_ERROR_SIZE bytes) is emptied.
char* buildibMRCache(int* changedDataFlag, char* errText);

// 1: ibMRCache differs from `previous`, either of which may be NULL.
int ibMRCacheChanged(const char* previous);

// The text from the agents, heap, the caller's; NULL: none.
char* getRSTStringfromOS();

// 1: the agents are connected.
int iBDataAvailable();

// Reads an XML file and writes what the parser made of it to "/tmp/ibRAID.xml". 0, or 1 when the file cannot be
// read or parsed: nothing is written then.
int readXMLFile(const char* path);
