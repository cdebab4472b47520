#include "host/node/ExampleNodes.h"

namespace {

using Cooking = NodeTest;

OP_Context inPass(float t = 0) {
    OP_Context context(t);
    context.setPass(OP_Context::newPass());
    return context;
}

TEST_F(Cooking, OncePerPassAndData) {
    ExampleNode *top = node("top"), *left = node("left", {top}), *right = node("right", {top});
    ExampleNode* end = node("end", {left, right});
    OP_Context pass = inPass();
    EXPECT_TRUE(end->cook(pass) && end->cook(pass));
    EXPECT_EQ(top->works, 1);
    int other = 0;
    pass.setData(&other);
    end->cook(pass);
    EXPECT_EQ(top->works, 2);
    OP_Context next = inPass();
    end->cook(next);
    EXPECT_EQ(top->works, 3);
    EXPECT_EQ(top->cookCount(), 3u);
}

TEST_F(Cooking, OutsideAPassOnlyWhenOutOfDate) {
    ExampleNode *a = node("a"), *b = node("b", {a});
    const auto worksAfter = [&](std::initializer_list<float> times) {
        a->works = b->works = 0;
        for (const float t : times) {
            OP_Context context(t);
            b->cook(context);
        }
        return std::pair(a->works, b->works);
    };
    EXPECT_EQ(worksAfter({0, 1}), std::pair(1, 1));
    a->setFloat("scale", 0, 2);
    EXPECT_EQ(worksAfter({1, 1}), std::pair(1, 1));
    // What an input reads of the time counts for those below it.
    a->work = [](ExampleNode& self, OP_Context& context) { self.FORCE.z(context.getTime()); };
    a->setFloat("scale", 0, 3);
    EXPECT_EQ(worksAfter({1, 1, 0}), std::pair(2, 2));
    EXPECT_TRUE(b->flags().timeDependent);
    a->work = nullptr;
    a->setFloat("scale", 0, 4);
    EXPECT_EQ(worksAfter({0, 1}), std::pair(1, 1));
    b->flags().recook = true; // at any other time
    EXPECT_EQ(worksAfter({1, 1, 0}), std::pair(0, 2));
}

TEST_F(Cooking, FailuresTravelDownWithTheirPath) {
    ExampleNode *a = node("a"), *b = node("b", {a}), *c = node("c", {nullptr, b});
    bool fail = true;
    a->work = [&](ExampleNode&, OP_Context&) {
        if (fail) UTaddError("FLX", 11, "/obj/nothing");
    };
    OP_Context context(0);
    EXPECT_FALSE(c->cook(context));
    EXPECT_EQ(messages(*a), "error FLX 11: /obj/nothing\n");
    EXPECT_EQ(messages(*b), "error OP 3: /obj/box/a\n");
    EXPECT_EQ(messages(*c), "error OP 3: /obj/box/b\n");
    EXPECT_EQ(c->works, 0);
    EXPECT_FALSE(c->cook(context)); // up to date, and failed
    EXPECT_EQ(a->works, 1);
    fail = false;
    a->setFloat("scale", 0, 2);
    EXPECT_TRUE(c->cook(context));
    EXPECT_EQ(messages(*a) + messages(*b) + messages(*c), "");
}

TEST_F(Cooking, MessagesStayWithTheirNode) {
    ExampleNode *a = node("a"), *b = node("b", {a});
    UTaddWarning("OP", OP_ERR_FILE, "before");
    a->work = [](ExampleNode& self, OP_Context&) {
        UTaddWarning("FLX", 4, "of a");
        EXPECT_EQ(self.error(), UT_ERROR_WARNING);
    };
    b->work = [&](ExampleNode& self, OP_Context&) {
        UTaddMessage("FLX", 4, "of b");
        EXPECT_EQ(a->error(), UT_ERROR_WARNING); // asking another node takes nothing away from this one
        EXPECT_EQ(self.error(), UT_ERROR_MESSAGE);
    };
    OP_Context pass = inPass();
    EXPECT_TRUE(b->cook(pass));
    EXPECT_EQ(messages(*a) + messages(*b), "warning FLX 4: of a\nmessage FLX 4: of b\n");
    ASSERT_EQ(UTglobalErrors().size(), 1u); // what was there before
    UTglobalErrors().clear();
    EXPECT_EQ(a->getErrorMessages(), "warning FLX 4: No input has this index: of a");
}

TEST_F(Cooking, CyclesAreErrorsOfEveryNodeInThem) {
    ExampleNode *a = node("a"), *b = node("b", {a}), *self = node("self");
    a->setInput(0, b);
    self->setInput(0, self);
    OP_Context pass = inPass();
    EXPECT_FALSE(a->cook(pass));
    EXPECT_EQ(messages(*a), "error OP 2: /obj/box/a\nerror OP 3: /obj/box/b\n");
    EXPECT_EQ(messages(*b), "error OP 3: /obj/box/a\n");
    EXPECT_FALSE(self->cook(pass));
    b->setInput(0, nullptr);
    OP_Context context(0);
    EXPECT_TRUE(a->cook(context));
}

TEST_F(Cooking, ManyForksEnd) {
    std::vector<ExampleNode*> forks{node("fork0")};
    forks[0]->flags().impure = true;
    forks[0]->work = [](ExampleNode& self, OP_Context&) { self.noteImpureRead(); };
    for (int i = 1; i < 60; ++i) {
        ExampleNode* const above = forks.back();
        forks.push_back(node("fork" + std::to_string(i), {above, above}));
    }
    OP_Context context(0);
    EXPECT_TRUE(forks.back()->cook(context));
    EXPECT_EQ(forks[0]->works, 1);
    EXPECT_TRUE(forks.back()->cook(context)); // impure: cooks at every request, once in it
    EXPECT_EQ(forks[0]->works, 2);
}

TEST_F(Cooking, ModificationsVisitADiamondOnce) {
    ExampleNode *a = node("a"), *b = node("b", {a}), *c = node("c", {a}), *d = node("d", {b, c}), *e = node("e");
    e->addExtraInput(d, OP_INTEREST_DATA);
    e->addExtraInput(d, OP_INTEREST_DATA);
    EXPECT_EQ(e->extraInputs().size(), 1u);
    std::vector<ExampleNode*> all{a, b, c, d, e};
    /// By how much each serial rises; whose does has changed.
    const auto raised = [&](const std::function<void()>& change) {
        std::vector<uint32_t> before;
        for (ExampleNode* n : all) before.push_back(n->getChangeSerial()), n->flags().changed = false;
        change();
        std::string out;
        for (size_t i = 0; i < all.size(); ++i) {
            EXPECT_EQ(all[i]->flags().changed, all[i]->getChangeSerial() != before[i]);
            out += std::to_string(all[i]->getChangeSerial() - before[i]);
        }
        return out;
    };
    EXPECT_EQ(raised([&] { a->setFloat("scale", 0, 3); }), "11111");
    EXPECT_EQ(raised([&] { b->setString("group", "g"); }), "01011");
    EXPECT_EQ(raised([&] { c->setInput(0, nullptr); }), "00111");
    EXPECT_EQ(raised([&] { a->setFloat("scale", 0, 4); }), "11011");
    EXPECT_EQ(raised([&] { b->setBypass(true); }), "01011");
    // Changes what is shown, not what is computed.
    EXPECT_EQ(raised([&] { b->setDisplay(true), d->opChanged(OP_ERROR_CHANGED); }), "00000");
    e->clearExtraInputs();
    EXPECT_EQ(raised([&] { d->opChanged(OP_OUTPUT_CHANGED); }), "00010");
    e->addExtraInput(d, OP_INTEREST_FLAG);
    EXPECT_EQ(raised([&] { d->opChanged(OP_OUTPUT_CHANGED); }), "00010");
    EXPECT_EQ(raised([&] { d->setDisplay(true); }), "00001");
    a->setInput(0, d); // a cycle of wires ends, too
    EXPECT_EQ(raised([&] { b->setFloat("scale", 0, 9); }), "11010");
}

TEST_F(Cooking, DependenciesThatACookDoesNotRenewGo) {
    ExampleNode *a = node("a"), *b = node("b"), *n = node("n");
    ExampleNode* wanted = a;
    n->work = [&](ExampleNode& self, OP_Context&) { self.addExtraInput(wanted, OP_INTEREST_DATA); };
    OP_Context context(0);
    n->cook(context);
    EXPECT_FALSE(n->flags().changed);
    EXPECT_EQ(n->extraInputs(), std::vector<OP_Node*>{a});
    wanted = b;
    a->setFloat("scale", 0, 2);
    n->cook(context);
    EXPECT_EQ(n->extraInputs(), std::vector<OP_Node*>{b});
    a->setFloat("scale", 0, 3);
    EXPECT_FALSE(n->flags().changed);
    n->flags().changed = true;
    n->work = [](ExampleNode&, OP_Context&) { UTaddError("FLX", 6, nullptr); };
    n->cook(context);
    EXPECT_EQ(n->extraInputs().size(), 1u); // who failed keeps waiting for what may mend it
}

} // namespace
