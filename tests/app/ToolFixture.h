#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

/// How a run of the tool ended.
struct ToolResult {
    int status = -1; ///< exit status; -1 when a signal killed it
    std::string out, err;

    /// Standard output as one JSON object per line.
    std::vector<nlohmann::json> lines() const;
};

/// Runs the built tool as a child process, in a folder of its own that vanishes with the test.
class ToolTest : public testing::Test {
protected:
    ToolTest();
    ~ToolTest() override;

    /// Writes a file into the test's folder.
    void put(const std::string& name, const std::string& text) const;
    /// Runs the tool there. `memory` (bytes) limits its address space, 0 does not; `out` takes its standard output
    /// instead of the result.
    ToolResult flx(const std::vector<std::string>& arguments, size_t memory = 0, const std::string& out = "") const;
    /// Sends Ctrl-C once the file exists.
    ToolResult interruptWhenThere(const std::string& file, const std::vector<std::string>& arguments) const;
    /// The files in the test's folder and below, without those that put wrote.
    std::vector<std::string> appeared() const;
    std::string path(const std::string& name) const { return (myFolder / name).string(); }
    static std::string example(const std::string& name) { return FLX_SOURCE_DIR "/examples/" + name; }

    /// A scene with one network /obj/fx of these nodes.
    static std::string scene(const std::string& nodes, const std::string& more = "") {
        return R"({"flx": 1, "frames": [1, 4], "obj": [)" + more + R"({"name": "fx", "type": "flxnet", "nodes": [)" +
               nodes + "]}]}";
    }

private:
    int start(const std::vector<std::string>& arguments, size_t memory, const std::string& out) const;
    ToolResult finish(int process) const;

    std::filesystem::path myFolder;
    mutable std::vector<std::string> myOwn;
};
