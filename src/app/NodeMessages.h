#pragma once

#include "app/ExitStatus.h"
#include "host/ut/UT_ErrorLog.h"

#include <map>
#include <set>
#include <string>
#include <vector>

class OP_Network;
class OP_Node;

/// The messages of all nodes of the scene over a run, each told once.
class NodeMessages {
public:
    explicit NodeMessages(std::string scene)
        : myScene(std::move(scene)) {}

    /// The lines for what the nodes say now and have not said before.
    std::vector<std::string> collect();
    /// The worst so far: DONE, NODE_ERROR, or for what a run cannot go on with, LIMIT or FILE_PROBLEM.
    ExitStatus status() const { return myStatus; }

private:
    void collectFrom(const OP_Network& network, std::vector<std::string>& out);
    void collectFrom(const OP_Node& node, std::vector<std::string>& out);
    void add(const std::string& path, const UT_Error& error, std::vector<std::string>& out);
    void noteStatus(const UT_Error& error);

    std::string myScene;
    std::map<std::string, std::set<std::string>> myTold; ///< by node
    ExitStatus myStatus = ExitStatus::DONE;
};
