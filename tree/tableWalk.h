#pragma once

#include "platform/storelib.h"
#include "platform/xmlParser.h"
#include "tree/parameterTables.h"

// What a value function is asked about: the indexes that locate the object, and what the tree has read for it.
struct TreeObject {
    int ctrlIndex = 0;
    int index = 0;                          // of the logical drive, drive or enclosure
    int element = 0;                        // of the fan, power supply or sensor within its kind
    int modelCode = 0;                      // of the enclosure
    const uint8_t* page = nullptr;          // its diagnostic page; NULL: not read
    const StatusSummary* summary = nullptr; // of the whole tree
};

using GetValue = int (*)(int paramID, const TreeObject& object, char* text, int size, int32_t* value);

// The trace of a walk; all NULL: none. `result` is that of the value function or, when there was a value, of the
// append; the second text also gets the two apart.
struct WalkTrace {
    void (*row)(const char* xmlParamName);
    void (*result)(int result, int valueResult, int appendResult);
    void (*end)(int result);
};

// How the rows of one kind of object become children.
struct TableWalk {
    const ParamTableEntry* table;
    GetValue getValue;
    bool writesNegative;     // else a negative integer means that the value is not available
    bool endsOnFailedAppend; // else the next row is tried
    WalkTrace trace = {};
};

// Appends one child for each row that has an XML name and a value.
void appendTable(XMLNode* element, const TableWalk& walk, const TreeObject& object);
