#pragma once

#include "host/geo/GU_Detail.h"
#include "host/node/OP_Director.h"
#include "host/node/SOP_Node.h"
#include "scene/ParticleNetwork.h"
#include "scene/SceneFile.h"
#include "support/ErrorBrief.h"

#include <gtest/gtest.h>
#include <string>

/// Loads scenes from text and hands out what is in them.
class SceneTest : public testing::Test {
protected:
    ~SceneTest() override { OPresetDirector(); }

    /// The error line of a scene, "" when it loaded.
    std::string load(const std::string& text) {
        file.loadText(text, "scene.json");
        return file.error();
    }
    /// A scene of these objects; `head` goes before them.
    void loadObjects(const std::string& objects, const std::string& head = "") {
        ASSERT_EQ(load(R"({"flx": 1, )" + head + R"("obj": [)" + objects + "]}"), "");
    }
    /// A scene whose object /obj/g holds these geometry nodes.
    void loadSops(const std::string& nodes) {
        loadObjects(R"({"name": "g", "type": "geo", "nodes": [)" + nodes + "]}");
    }
    /// A scene with a network /obj/fx of these nodes.
    void loadNet(const std::string& nodes, const std::string& parms = "", const std::string& head = "") {
        loadObjects(R"({"name": "fx", "type": "flxnet", "parms": {)" + parms + "}, \"nodes\": [" + nodes + "]}", head);
    }
    OP_Node* node(const char* path) { return OPgetDirector()->findNode(path); }
    /// The geometry of /obj/g/NAME at a time.
    const GU_Detail& cooked(const std::string& name, float t = 0) {
        static const GU_Detail none;
        OP_Node* found = node(("/obj/g/" + name).c_str());
        SOP_Node* sop = found ? found->castToSOPNode() : nullptr;
        OP_Context context(t);
        const GU_Detail* detail = sop ? sop->cookedDetail(context) : nullptr;
        if (!detail) ADD_FAILURE() << "no geometry at " << name;
        return detail ? *detail : none;
    }
    /// The first message of a node, as the command line prints it.
    std::string message(const std::string& path) {
        const UT_ErrorList& list = node(path.c_str())->errors();
        return list.empty() ? "" : UTerrorBrief(list[0]);
    }
    ParticleNetwork& network(const char* path = "/obj/fx") { return dynamic_cast<ParticleNetwork&>(*node(path)); }

    SceneFile file;
};
