#pragma once

// Configuration item (index 0, one byte): non-zero enables the tree update.
constexpr int ConfBmcRaidMIRAUpdateEnabled = 11054;

constexpr int UPDATE_WRITTEN = 0;
constexpr int UPDATE_NOTHING_NEW = 1; // the tree equals the one in the file
constexpr int UPDATE_NO_DOCUMENT = 2; // the document could not be created; the kept cache stays
constexpr int UPDATE_NOT_WRITTEN = 3; // writing failed; the new tree counts as published all the same
constexpr int UPDATE_NO_CACHE = 4;    // the controllers could not be read; the kept cache stays
constexpr int UPDATE_DISABLED = 5;    // by the configuration item, or it cannot be read

// One tree update: reads the controllers, builds the document, and writes it when it differs from the kept one
// or the file is missing. Returns an UPDATE_* code, or a negative result of the writer.
int updateRAIDStorageTree();

// 0 at every update: the tree comes from the controllers.
extern unsigned char readiBData;

// The update by the other source, the finished tree from the host's agents; reached only with readiBData set.
// UPDATE_FROM_CONTROLLERS: the agents gave no tree.
constexpr int UPDATE_FROM_CONTROLLERS = -1;
int updateFromAgents();
