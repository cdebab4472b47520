// The registry for generated source code: its table file, what it marks, what it writes.
#include <fstream>
#include <sstream>

#include "support/Probe.h"
#include "vars/FLX_VariableList.h"

namespace {

/// A table file of this text, whose path is absolute.
std::string tableFile(const std::string& text) {
    const std::string path = testing::TempDir() + "/flx_varlist_" + std::to_string(::getpid()) + ".tbl";
    std::ofstream(path, std::ios::binary) << text;
    return path;
}

template <class Write> std::string written(Write&& write) {
    std::ostringstream out;
    write(out);
    return out.str();
}

} // namespace

TEST(VariableList, ReadsItsTable) {
    FLX_VariableList list;
    const int attributes = list.numattribs(), variables = list.numvar(), accesses = list.numaccess();
    const std::string file = tableFile("# access hidden float a b\r\n\r\n"
                                       "attribute shine addShine 3\n"
                                       "attribute plain\n"
                                       "attribute dull addDull\r"
                                       "access\tptr  int  two three 4\n"
                                       "access lvar.q float two three\n"
                                       "access short\n"
                                       "variable AA ptr a  + b \n"
                                       "variable BB lvar.q\n"
                                       "  variable CC nothing one\n"
                                       "func mix flx_mix  a \t b   c\n"
                                       "func two flx_two\n"
                                       "bogus x y z\n"
                                       "variable\n");
    ASSERT_EQ(list.load(file.c_str()), 0);
    std::ostringstream read;
    for (int i = attributes; i < list.numattribs(); ++i)
        read << list.attrib(i)->name.str() << ' ' << list.attrib(i)->method.str() << ' ' << list.attrib(i)->size
             << '\n';
    for (int i = accesses; i < list.numaccess(); ++i) {
        const FLX_AccessEntry& a = *list.access(i);
        read << a.name.str() << ' ' << a.type.str() << ' ' << a.secondField.str() << ' ' << a.thirdField.str() << ' '
             << a.count << '\n';
    }
    for (int i = variables; i < list.numvar(); ++i) {
        const FLX_VariableEntry& v = *list.variable(i);
        read << v.name.str() << ' ' << v.access.str() << ' ' << v.type.str() << ' ' << v.flag << ' '
             << v.expression.str() << '\n';
    }
    EXPECT_EQ(read.str(), "shine addShine 3\nplain  1\ndull addDull 1\n"
                          "ptr int two three 4\nlvar.q float two three 1\nshort    1\n"
                          "AA ptr int 1 a  + b \nBB lvar.q float 1 \nCC nothing float 1 one\n");
    EXPECT_EQ(list.findFuncXlate("mix")->translation, "flx_mix");
    EXPECT_EQ(list.findFuncXlate("mix")->arguments, "a, b, c");
    EXPECT_EQ(list.findFuncXlate("two")->arguments, "");
    std::string crowded = "func many flx_many";
    for (int i = 0; i < 300; ++i) crowded += " a" + std::to_string(i);
    EXPECT_EQ(list.load(tableFile(crowded).c_str()), 0);
    EXPECT_EQ(list.findFuncXlate("many")->arguments.words().size(), 300u);

    // What cannot be read adds nothing.
    const int before = list.numvar();
    const std::string folder = testing::TempDir(), empty = tableFile("");
    for (const char* path :
         {"middleware/FLX/nowhere.tbl", empty.c_str(), folder.c_str(), static_cast<const char*>(nullptr)})
        EXPECT_EQ(list.load(path), -1);
    EXPECT_EQ(list.numvar(), before);
}

TEST(VariableList, DefaultGlobals) {
    OPgetDirector()->fps = 29.97;
    FLX_VariableList list;
    OPgetDirector()->fps = 24;
    ASSERT_EQ(list.numglobal(), 11);
    EXPECT_EQ(list.findGlobal("F")->expression, "lvar.iframe");
    EXPECT_EQ(list.findGlobal("FPS")->expression, "29"); // whole
    EXPECT_EQ(list.findGlobal("PT")->first, 1);
    EXPECT_EQ(list.findGlobal("PT")->second, 0);
    EXPECT_EQ(list.findGlobal("TIMEINC")->second, 1);
    EXPECT_EQ(list.global(3)->name, "TSTART");
    EXPECT_EQ(list.findGlobal("AUXSTREAM")->expression, "flx_data");
}

TEST(VariableList, DuplicatesAndOrder) {
    FLX_VariableList list;
    EXPECT_EQ(list.addStream("birth"), 0);
    EXPECT_EQ(list.addStream("birth"), -1);
    EXPECT_EQ(list.addStream("fall"), 1);
    const int first = list.addGlobal("G", "1", 2, 3);
    EXPECT_EQ(list.addGlobal("G", "2", 4, 5), first + 1);
    EXPECT_EQ(list.global(first)->expression, "1"); // both stay
    EXPECT_EQ(list.findGlobal("G")->second, 5);
    EXPECT_EQ(list.addParam(nullptr, "int"), 0);
    EXPECT_EQ(list.findVariable(nullptr), nullptr);
}

TEST(VariableList, UseIsSavedAndRestored) {
    FLX_VariableList list;
    list.addAccess("pa", "int", "", "", 1);
    list.addVariable("VA", "pa", "*pa", 1);
    list.addAttribute("heat", nullptr, 2);
    const auto used = [&] { return written([&](std::ostream& os) { list.writeDeclarations("gdp", os); }); };
    const std::string all = "    int *pa;\n    int VA;\n    int heat_idx = gdp->findAttrib(\"heat\");\n";
    EXPECT_EQ(used(), "");
    EXPECT_FALSE(list.isAccessTypeUsedAtAll("int"));
    list.useVariable("VA");
    list.useVariable("NOSUCH");
    list.useAttribute("heat");
    EXPECT_EQ(used(), all);
    EXPECT_TRUE(list.isAccessTypeUsedAtAll("int"));
    EXPECT_FALSE(list.isAccessTypeUsedAtAll("float"));
    list.pushVariableState();
    EXPECT_EQ(used(), "");
    list.useAttribute("heat");
    EXPECT_EQ(used(), "    int heat_idx = gdp->findAttrib(\"heat\");\n");
    list.restoreVariableState();
    EXPECT_EQ(used(), all);
    list.resetUsed(); // the pointer was used at all
    EXPECT_EQ(used(), "    int *pa;\n");
    EXPECT_TRUE(list.findVariable("VA")->usedAtAll.isSet());
    list.addFuncXlate("f", "g", "x");
    list.addPreDefine("FAST");
    list.getManager().addInclude("a.h");
    list.resetAll();
    EXPECT_EQ(used(), "");
    EXPECT_EQ(list.findFuncXlate("f"), nullptr);
    EXPECT_EQ(list.numpredefine() + int(list.getManager().entries()), 0);
    EXPECT_EQ(list.findGlobal("TSTART")->expression, "0.0F");
    EXPECT_NE(list.findVariable("VA"), nullptr);
}

TEST(VariableList, WritersTextToTheLetter) {
    FLX_VariableList list;
    for (const char* name : {"a1", "a2", "a3", "a4", "a5", "a6", "a7", "a8"}) {
        list.addVariable(name, "none", nullptr, 0);
        list.useVariable(name);
    }
    EXPECT_EQ(written([&](std::ostream& os) { list.writeVariableDeclarations(os); }),
              "    float a1, a2, a3, a4, a5, a6, a7;\n    float a8;\n");
    for (const char* name : {"lvar.one", "lvar.two", "free", "lvar.n", "lvar.three", "other", "lvar.unused"}) {
        list.addAccess(name, name == std::string("lvar.n") ? "int" : "float", "", "", 1);
        if (name != std::string("lvar.unused")) list.useAccess(name);
    }
    EXPECT_EQ(written([&](std::ostream& os) { list.writeLocalVarClass("spray", os); }),
              "// This class holds the local access variables required\n// by this flx network.\n"
              "class spray_LVAR : public CH_LocalVar\n{\npublic:\n    int ptidx;\n"
              "    float *one, *two;\n    int *n;\n    float *three;\n};\n\n");
    list.addAttribute("heat", nullptr, 3);
    list.addAttribute("shine", "addShine", 1);
    list.useAttribute("heat");
    list.useAttribute("shine");
    EXPECT_EQ(written([&](std::ostream& os) { list.writeAttributeInit("gdp", os); }),
              "    gdp->addAttrib(\"heat\", 3);\n    gdp->addShine();\n");
    EXPECT_EQ(written([&](std::ostream& os) { list.writeDeclarations("gdp", os); }),
              "    float *free, *other;\n    float a1, a2, a3, a4, a5, a6, a7;\n    float a8;\n"
              "    int heat_idx = gdp->findAttrib(\"heat\");\n");
}

TEST(VariableList, NodeFrames) {
    Network net;
    FLX_Node &a = net.add("null", "a"), &b = net.add("null", "b");
    FLX_VariableList list;
    UT_String name("untouched");
    const auto nameOf = [&](const FLX_Node& node) { return list.getNodeStreamName(name, &node) ? name.str() : "none"; };
    list.markNodeWritten("lost", &a); // no frame yet
    EXPECT_FALSE(list.hasNodeBeenWritten(&a));
    list.pushNodeFrame();
    list.markNodeWritten("outer", &a);
    list.deferNode(&b);
    list.pushNodeFrame();
    EXPECT_TRUE(list.hasNodeBeenWritten(&a));
    EXPECT_EQ(nameOf(b), "none");
    EXPECT_EQ(name, "untouched");
    list.markNodeWritten("inner", &a);
    EXPECT_EQ(nameOf(a), "inner");
    EXPECT_EQ(list.takeDeferredNode(), nullptr);
    for (FLX_Node* node : {&a, &b}) list.deferNode(node);
    EXPECT_EQ(list.takeDeferredNode(), &a);
    list.dropNodeFrame();
    EXPECT_EQ(nameOf(a), "outer");
    EXPECT_EQ(list.takeDeferredNode(), &b);
    EXPECT_EQ(list.takeDeferredNode(), nullptr);
    for (int i = 0; i < 2; ++i) list.dropNodeFrame();
    EXPECT_FALSE(list.hasNodeBeenWritten(&a));
}
