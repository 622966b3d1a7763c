#pragma once

// All objects of a server in the order of the tree, and how they are named.

#include "raidtree/fields.h"

#include <string>
#include <type_traits>

namespace raidtree {

struct Place {
    Number adapter, enclosure, number; // of the object itself, where it has one
};

// "drive 0/19", "fan 0/1/2", "battery 0"; the summary is "tree".
std::string labelOf(const char* kind, const Place& place);

// "bay 1:3", "bay 3" of a backplane; empty: the slot is not told.
std::string bayOf(const Drive& drive);

// What its maker, its owner or its place calls it.
template <class Record>
std::string titleOf(const Record& record) {
    if constexpr (std::is_same_v<Record, Drive>)
        return bayOf(record) + (record.serialNumber.empty() ? "" : ", " + record.serialNumber);
    else if constexpr (std::is_same_v<Record, Fan> || std::is_same_v<Record, Sensor>)
        return record.location.empty() ? record.name : record.location;
    else if constexpr (std::is_same_v<Record, Adapter>)
        return record.product.empty() ? record.name : record.product;
    else if constexpr (std::is_same_v<Record, Summary>)
        return {};
    else
        return record.name;
}

// visitor(record, place)
template <class Visitor>
void visitEnclosure(int64_t adapter, const Enclosure& enclosure, Visitor&& visitor) {
    const Place place = {adapter, enclosure.number, std::nullopt};
    visitor(enclosure, place);
    visitor(enclosure.processor, place);
    const auto visitAll = [&](const auto& all) {
        for (const auto& record : all) visitor(record, Place{adapter, enclosure.number, record.number});
    };
    visitAll(enclosure.fans);
    visitAll(enclosure.powerSupplies);
    visitAll(enclosure.sensors);
}

template <class Visitor>
void visitAdapter(const Adapter& adapter, Visitor&& visitor) {
    visitor(adapter, Place{adapter.number, {}, {}});
    for (const Volume& volume : adapter.volumes) visitor(volume, Place{adapter.number, {}, volume.number});
    if (adapter.battery) visitor(*adapter.battery, Place{adapter.number, {}, {}});
    for (const Enclosure& enclosure : adapter.enclosures) visitEnclosure(adapter.number, enclosure, visitor);
    for (const Drive& drive : adapter.drives) visitor(drive, Place{adapter.number, {}, drive.number});
}

template <class Visitor>
void visitServer(const Server& server, Visitor&& visitor) {
    for (const Adapter& adapter : server.adapters) visitAdapter(adapter, visitor);
    visitor(server.summary, Place{});
}

} // namespace raidtree
