#include "tests/bench/pugixmlTree.h"

namespace {

void layOutElement(const XMLNode& element, std::vector<Step>& steps) {
    const XMLNode* child = element.firstChild;
    const bool isLeaf = child != nullptr && child->nodeType == XML_TEXT_NODE;
    Step& step = steps.emplace_back(Step{element.nodeName, isLeaf ? child->nodeValue : nullptr, nullptr, ""});
    for (const char* attribute : {"Nr", "Version"}) {
        char value[32];
        if (getAttribute(&element, attribute, value, sizeof value) != XP_SUCCESS) continue;
        step.attribute = attribute;
        step.value = value;
    }
    if (isLeaf) return;
    for (; child != nullptr; child = child->nextSibling) layOutElement(*child, steps);
    steps.push_back({});
}

struct StringWriter : pugi::xml_writer {
    void write(const void* data, size_t size) override { text.append(static_cast<const char*>(data), size); }
    std::string text;
};

} // namespace

std::vector<Step> layOut(XMLDoc& document) {
    std::vector<Step> steps;
    layOutElement(*document.documentElement, steps);
    return steps;
}

void build(pugi::xml_document& document, const std::vector<Step>& steps) {
    pugi::xml_node open = document;
    for (const Step& step : steps) {
        if (step.name == nullptr) {
            open = open.parent();
            continue;
        }
        pugi::xml_node element = open.append_child(step.name);
        if (!step.value.empty()) element.append_attribute(step.attribute).set_value(step.value.c_str());
        if (step.text != nullptr)
            element.append_child(pugi::node_pcdata).set_value(step.text);
        else
            open = element;
    }
}

std::string save(const pugi::xml_document& document) {
    StringWriter writer;
    document.save(writer, "  ", pugi::format_default, pugi::encoding_utf8);
    return writer.text;
}
