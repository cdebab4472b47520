// The particle functions in expressions of other nodes than the network's own.
#include "core/FLX_ContextData.h"
#include "scene/SceneFixture.h"

using SceneFunctions = SceneTest;

// What a network holds can change without notice: geometry that asks for it is made anew for every cook, also where
// nothing depends on the time.
TEST_F(SceneFunctions, GeometryThatAsksTheNetworkIsNeverStale) {
    ASSERT_EQ(load(R"json({"flx": 1, "fps": 10, "obj": [
      {"name": "g", "type": "geo", "nodes": [
        {"name": "dot", "type": "points", "parms": {"P": [0, 0, 0]}},
        {"name": "moved", "type": "xform", "inputs": ["dot"], "parms": {"t": ["flxpoint(1e9, 'id', 0)", 0, 0]}}]},
      {"name": "fx", "type": "flxnet", "nodes": [
        {"name": "birth", "type": "source", "parms": {"emittype": "point", "initvel": "set", "var": [0, 0, 0], "soppath": "/obj/g/moved", "usecontextgeo": "none", 
          "constantrate": 10, "life": 100}, "flags": ["display", "render"]}]}]})json"),
              "");
    std::vector<float> x;
    for (int frame = 1; frame <= 5; ++frame) {
        network().cookFrame(frame);
        const GU_Detail& detail = *network().context()->getDetail();
        x.clear();
        for (size_t i = 0; i < detail.points().entries(); ++i) x.push_back(detail.points()(i)->getPos().x());
    }
    EXPECT_EQ(x, (std::vector<float>{0, 1, 2, 3, 4}));
}
