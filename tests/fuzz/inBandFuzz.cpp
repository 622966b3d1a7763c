// Whatever the agents answer: the tree file holds their text or is left alone, and what the reader makes of the file is
// a document.

#include "platform/xmlParser.h"
#include "rst/dqmiClient.h"
#include "rst/inBandSource.h"
#include "rst/treeWriters.h"
#include "rst/updateCycle.h"
#include "tests/fuzz/fuzz.h"
#include "tests/fuzz/memoryMachine.h"

#include <unistd.h>

namespace {

constexpr size_t SHORTEST_TREE = 1025;

// An answer whose block is as long as its length, or one whose length is absurd.
sim::Dqmi takeAnswer(Input& input) {
    sim::Dqmi dqmi;
    const uint8_t kind = input.byte();
    dqmi.opens = {(kind & 1) == 0};
    dqmi.readable = (kind & 4) == 0;
    if ((kind & 8) != 0) dqmi.status = input.number<int32_t>();
    if ((kind & 16) != 0) dqmi.length = input.number<uint32_t>() | 1U << 26;
    if ((kind & 32) != 0) return dqmi;
    const std::string_view text = input.take(input.number<uint16_t>());
    dqmi.answer.emplace(text.begin(), text.end());
    // What makes it long enough for a tree need not be in the input.
    if ((kind & 64) != 0) dqmi.answer->resize(dqmi.answer->size() + SHORTEST_TREE, ' ');
    return dqmi;
}

bool isAnswered(const sim::Dqmi& dqmi) {
    return dqmi.opens[0] && dqmi.readable && dqmi.status == 0;
}

// The text that a good answer carries, empty: none.
std::string textOf(const sim::Dqmi& dqmi) {
    if (!isAnswered(dqmi) || !dqmi.answer || dqmi.length) return {};
    return {dqmi.answer->begin(), std::find(dqmi.answer->begin(), dqmi.answer->end(), 0)};
}

void update(const sim::Dqmi& dqmi) {
    const std::string before = readFileBelow(RST_FILE);
    const std::string known = ibMRCache != nullptr ? ibMRCache : "";
    const std::string text = textOf(dqmi);
    g_machine.machine.dqmi = dqmi;
    const int code = updateFromAgents();
    const std::string after = readFileBelow(RST_FILE);
    if (text.size() < SHORTEST_TREE) {
        demand(code == UPDATE_FROM_CONTROLLERS && ibMRCache == nullptr, "what is too short is no tree");
        demand(before == after, "without a tree the file stays");
    } else {
        demand(ibMRCache != nullptr && text == ibMRCache && text == after, "the file holds the text");
        demand(code == (text == known ? UPDATE_NOTHING_NEW : UPDATE_WRITTEN), "a text is written once");
    }
}

void checkCopy() {
    unlink((fuzzRoot() + "/tmp/ibRAID.xml").c_str());
    const std::string source = readFileBelow(RST_FILE);
    XMLDoc* document = parseText(nullptr, source.c_str());
    const bool isRead = readXMLFile(RST_FILE) == 0;
    demand(isRead == (document != nullptr), "what can be parsed is copied");
    if (document != nullptr)
        demand(readFileBelow("/tmp/ibRAID.xml") == writeAndReadBack(document), "the copy is the document's text");
    freeXMLDoc(document);
}

} // namespace

void tryInBand(std::string_view bytes) {
    const MachineOfOneInput scope;
    unlink((fuzzRoot() + RST_FILE).c_str());
    Input input(bytes);
    for (int i = 0; i < 2; ++i) update(takeAnswer(input));
    checkCopy();

    g_machine.machine.dqmi = takeAnswer(input);
    char errorText[DQMI_ERROR_SIZE] = "";
    const int value = dqmiRequestValue(0, 0, 0, 0, errorText);
    demand(value == -1 || errorText[0] == '\0', "a value or an error");
    free(ibMRCache);
    ibMRCache = nullptr;
}
