#pragma once

// The command raidtree as a process, and documents for it: those of tests/golden, and changes of them.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

struct Output {
    int status = -1; // -1: ended by a signal
    std::string text, errors;
};

// A directory of its own for each test, removed at its end. Names of files without a slash are of this directory.
class Raidtree : public testing::Test {
  public:
    Raidtree();
    ~Raidtree() override;
    Raidtree(const Raidtree&) = delete;
    Raidtree& operator=(const Raidtree&) = delete;

  protected:
    std::string write(const std::string& name, const std::string& text) const; // its path
    std::string path(const std::string& name) const { return folder_ + "/" + name; }
    Output run(const std::string& arguments, const std::string& input = "/dev/null") const;
    std::string jsonOf(const std::string& document) const;

  private:
    std::string folder_;
};

std::string textOfFile(const std::string& path);

// "enclosures": that document of tests/golden.
std::string goldenDocument(const std::string& name);

// Every document of tests/golden with its name, those of the hostile machines and the large one among them.
const std::vector<std::pair<std::string, std::string>>& allDocuments();

// The document with each first text replaced by the second, once; the first has to be there.
std::string changed(std::string document, const std::vector<std::pair<std::string, std::string>>& changes);

// A whole line of it.
bool hasLine(const std::string& text, const std::string& line);
