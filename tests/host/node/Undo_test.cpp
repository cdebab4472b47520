#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <unistd.h>

#include "host/node/ExampleNodes.h"
#include "host/node/OP_PreDefRules.h"
#include "host/node/OP_UndoManager.h"

namespace {

class Undo : public NodeTest {
protected:
    Undo() { undo.setEnabled(true); }
    ~Undo() override { undo.setEnabled(false); }
    OP_UndoManager& undo = OP_UndoManager::instance();
};

TEST_F(Undo, EveryKindOfValueComesBack) {
    ExampleNode* n = node("n");
    n->setFloat("force", 0, 4);
    n->setKeys("scale", 0, CH_Channel({{0, 1}, {1, 3}}));
    n->setExpression("scale", 0, "$AGE");
    n->setString("group", "$AGE", OP_Parameters::Literal);
    n->setFloat("weight2", 0, 9);
    n->setInt("parts", 0, 1);
    EXPECT_EQ(undo.undoSteps(), 6);
    EXPECT_TRUE(undo.undo());
    EXPECT_EQ(n->evalFloat("weight2", 0, 0), 9);
    undo.undo();
    EXPECT_EQ(n->evalFloat("weight2", 0, 0), 0.5f);
    undo.undo();
    EXPECT_EQ(n->GROUP(), "all");
    const uint32_t serial = n->getChangeSerial();
    undo.undo();
    EXPECT_EQ(n->getChangeSerial(), serial + 1);
    EXPECT_EQ(n->SCALE(0.5f), 2);
    undo.undo(), undo.undo();
    EXPECT_EQ(n->FORCE.x(0), 7);
    EXPECT_FALSE(undo.undo());

    while (undo.redo()) {
    }
    EXPECT_EQ(n->FORCE.x(0) + n->SCALE(0), 4 + 7);
    EXPECT_EQ(n->GROUP(), "$AGE");
    EXPECT_EQ(n->PARTS(), 1);
    undo.undo();
    n->setFloat("count", 0, 1);
    EXPECT_FALSE(undo.redo()); // a new change ends what could be done again
}

TEST_F(Undo, BlocksAreOneStep) {
    ExampleNode *n = node("n"), *m = node("m");
    {
        OP_UndoBlock outer("Set");
        n->setFloat("scale", 0, 2);
        OP_UndoBlock inner("Inner");
        n->setFloat("scale", 0, 3);
        m->setFloat("scale", 0, 4);
        EXPECT_FALSE(undo.undo());
    }
    { OP_UndoBlock empty("Nothing"); }
    UTendUndoBlock(); // one too many does no harm
    EXPECT_EQ(undo.undoSteps(), 1);
    EXPECT_EQ(undo.undoName(), "Set");
    box->destroyNode(m);
    undo.undo();
    EXPECT_EQ(n->SCALE(0), 1);
    undo.redo();
    EXPECT_EQ(n->SCALE(0), 3);
    undo.setEnabled(false);
    n->setFloat("scale", 0, 5);
    EXPECT_EQ(undo.undoSteps(), 0);
}

TEST_F(Undo, OldStepsAreForgotten) {
    ExampleNode* n = node("n");
    for (int i = 0; i < OP_UndoManager::maxSteps + 5; ++i) n->setFloat("scale", 0, i % 10);
    EXPECT_EQ(undo.undoSteps(), OP_UndoManager::maxSteps);
    while (undo.undo()) {
    }
    EXPECT_EQ(n->SCALE(0), 4);
}

// ---- predefined rules

TEST(PreDefRules, MenusEndWhereTheRoomDoes) {
    PRM_Name names[3] = {{"x", "x"}, {"x", "x"}, {"x", "x"}};
    OP_Node::buildPreDefRulesMenu(names, 3, OP_PreDefRules("FLXRotationAxes"));
    EXPECT_STREQ(names[1].label, "Y Axis");
    EXPECT_EQ(names[2].token, nullptr);
    EXPECT_EQ(OP_PreDefRules("nothing").entries() + OP_PreDefRules(nullptr).entries(), 0);
}

TEST(PreDefRules, AFileReplacesTheSetsItHas) {
    const auto folder = std::filesystem::temp_directory_path() / ("rules" + std::to_string(::getpid()));
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "predefined.rules")
        << "# mine\n[FLXKillRules]\r\n  Low : $TY < -1 ? 1 : 0\nbroken\n: 1\n[Other]\nA: 1\n";
    ::setenv("FLX_PATH", folder.c_str(), 1);
    UTglobalErrors().clear();
    const OP_PreDefRules kill("FLXKillRules");
    ASSERT_EQ(kill.entries(), 1);
    EXPECT_STREQ(kill.getName(0), "Low");
    EXPECT_EQ(kill.getString(0), "$TY < -1 ? 1 : 0");
    ASSERT_EQ(UTglobalErrors().size(), 2u);
    EXPECT_NE(UTglobalErrors()[0].text.find("predefined.rules:4: "), std::string::npos);
    EXPECT_GT(OP_PreDefRules("FLXGroupRules").entries(), 1);
    EXPECT_EQ(OP_PreDefRules("Other").entries(), 1);
    UTglobalErrors().clear();
    ::unsetenv("FLX_PATH");
    std::filesystem::remove_all(folder);
}

} // namespace
