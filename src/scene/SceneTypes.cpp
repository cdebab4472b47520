#include "scene/SceneTypes.h"

#include "core/FLX_Node.h"
#include "host/node/OP_Director.h"
#include "scene/InitialState.h"
#include "scene/objects/ObjectTypes.h"
#include "scene/sops/SopNodes.h"

#include <mutex>

void registerSceneTypes() {
    static std::once_flag once;
    std::call_once(once, [] {
        registerObjectTypes(OP_Director::operatorTable("OBJ"));
        registerShaderTypes(OP_Director::operatorTable("SHOP"));
        registerSops(OP_Director::operatorTable("SOP"));
        FLX_Node::buildOperatorTable(OP_Director::operatorTable("FLX"));
        GU_Detail::setLoader(loadInitialState);
    });
}
