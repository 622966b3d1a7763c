#include "tree/treeBuilder.h"

#include "tests/support/updateFixture.h"

#include <sstream>

namespace {

class TreeBuilder : public UpdateTest {
  protected:
    // The elements that have elements or a number, with what is in them in parentheses; the root is left out.
    static std::string shapeOf(const nlohmann::json& machine) {
        std::istringstream document(documentOf(machine));
        std::string shape;
        for (std::string line; std::getline(document, line);) {
            line.erase(0, line.find_first_not_of(' '));
            const bool isLeaf = line.find("</") != std::string::npos;
            const size_t number = line.find(" Nr=\"");
            if (line.starts_with("</")) {
                if (shape.ends_with('('))
                    shape.pop_back();
                else
                    shape += ")";
            } else if (line[1] != '?' && (!isLeaf || number != std::string::npos)) {
                if (!shape.empty() && !shape.ends_with('(')) shape += " ";
                shape += line.substr(1, line.find_first_of(" >") - 1);
                if (number != std::string::npos)
                    shape += line.substr(number + 5, line.find('"', number + 5) - number - 5);
                if (!isLeaf) shape += "(";
            }
        }
        return shape.substr(shape.find('('));
    }
    static std::string inSystem(const std::string& adapters) {
        return "(System(" + adapters + (adapters.empty() ? "" : " ") + "Multiplexer))";
    }
};

TEST_F(TreeBuilder, hasAnAdapterForEachControllerThatCanBeRead) {
    EXPECT_EQ(shapeOf(controllersWith("", 0)), inSystem(""));
    nlohmann::json three = controllersWith("MR_CTRL_INFO 1456=01 MR_BBU_STATUS 0=01", 3);
    three["controllers"][1]["records"]["MR_CTRL_INFO"] = nullptr;
    three["controllers"][2]["number"] = -1;
    EXPECT_EQ(shapeOf(three), inSystem("Adapter3(Battery) Adapter-1(Battery)"));
}

// An entry of the configuration makes an element when it lies inside the record, its MR_LD_INFO its children.
TEST_F(TreeBuilder, hasTheLogicalDrivesThatExist) {
    const std::string drives = " 320=05 576=09 LD5.MR_LD_INFO LD5.MR_LD_PROGRESS LD9.MR_LD_INFO";
    const auto expect = [&](const std::string& counts, const char* shape) {
        EXPECT_EQ(shapeOf(controllersWith(counts + drives)), inSystem(shape)) << counts;
    };
    expect("MR_CTRL_INFO 1472=01 MR_CONFIG_DATA 8=02", "Adapter3(LogicalDrive5)");
    expect("MR_CTRL_INFO 1472=FFFF MR_CONFIG_DATA 8=01", "Adapter3(LogicalDrive5 LogicalDrive9)");
    EXPECT_EQ(shapeOf(controllersWith("MR_CTRL_INFO 1472=02 -MR_CONFIG_DATA")), inSystem("Adapter3"));
}

// Drives 20 to 23 in slots 2, 0, 1, 0 of device 9; an enclosure 8, behind the second connector, is of no known model.
TEST_F(TreeBuilder, hasThePortsWithTheirDrives) {
    std::string list = " MR_PD_LIST 4=04";
    std::string devices = " 8.MR_PD_INFO 4=0D 10.MR_PD_INFO 4=01";
    const char* slots[] = {"02", "00", "01", "00"};
    for (int i = 0; i < 4; ++i) {
        const std::string at = std::to_string(8 + 24 * i);
        const std::string slot = std::to_string(8 + 24 * i + 5);
        list += " " + at + "=1" + std::to_string(4 + i) + "0009 " + slot + "=" + slots[i];
        devices += " " + std::to_string(20 + i) + ".MR_PD_INFO 256=09 259=" + slots[i];
    }
    const std::string enclosures =
        " MR_SAS_CONNECTORS 0=02 MR_ENCL_LIST 0=04 8=08 19=01 152=09 162=03 296=0A 440=0B 450=03";
    const auto expect = [&](const std::string& info, const std::string& shape) {
        EXPECT_EQ(shapeOf(controllersWith("MR_CTRL_INFO " + info + list + enclosures + devices)), inSystem(shape))
            << info;
    };
    const std::string connectors = "Port Port(Enclosure(Processor)) ";
    expect("1478=04 1506=20",
           "Adapter3(" + connectors + "Port(PhysicalDrive21 PhysicalDrive23 PhysicalDrive22 PhysicalDrive20))");
    expect("1478=04 1506=DF", "Adapter3(" + connectors + "Port(PhysicalDrive21 PhysicalDrive23))");
    expect("1478=01 1506=20", "Adapter3(" + connectors + "Port(PhysicalDrive20))");
    expect("1478=00 1506=20", "Adapter3");
}

} // namespace
