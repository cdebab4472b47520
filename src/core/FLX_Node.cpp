#include "core/FLX_Node.h"

#include "host/expr/EV_Error.h"
#include "host/node/CH_Manager.h"
#include "host/node/OP_Director.h"
#include "host/node/OP_Operator.h"
#include "host/ut/UT_CRC.h"

FLX_Node::FLX_Node(OP_Network* parent, const char* name, OP_Operator* op)
    : OP_Network(parent, name, op) {
    flags().changed = false;
    flags().recook = true; // for the host, a node that cooks again at every time
}

FLX_Node::~FLX_Node() { myGuideHandle.deleteGdp(); }

OP_OperatorTable* FLX_Node::childTable() const { return &OP_Director::operatorTable("FLX"); }

const char* FLX_Node::getCookTimerLabel(const OP_Context& context) const {
    const FLX_ContextData* data = contextOf(context);
    return data && data->isGuideOnly() ? "cookguide" : "cook";
}

int FLX_Node::doDeleteRewire() const {
    constexpr unsigned GENERATOR = 2;
    return !(getOperator() && getOperator()->flags() == GENERATOR);
}

// ---- cooking

UT_ErrorSeverity FLX_Node::cookMe(OP_Context& context) {
    flags().recook = true;
    myParticleList.clear();
    FLX_ContextData* data = contextOf(context);
    if (!data) {
        myInfoText.clear();
        return UT_ERROR_NONE;
    }
    if (nInputs() == 0) settleInputs(context);
    const UT_ErrorSeverity result = cookFlx(context);
    destroyAdhocGroups();
    buildInfo(context);
    cacheForDisplay(context);
    return result;
}

UT_ErrorSeverity FLX_Node::lockInputs(OP_Context& context) {
    const UT_ErrorSeverity severity = OP_Network::lockInputs(context);
    settleInputs(context);
    return severity;
}

UT_ErrorSeverity FLX_Node::lockInput(int i, OP_Context& context) {
    const UT_ErrorSeverity severity = OP_Network::lockInput(i, context);
    settleInputs(context);
    return severity;
}

void FLX_Node::settleInputs(OP_Context& context) {
    if (passUse() == FLX_PassUse::Barrier && contextOf(context)) contextOf(context)->flushPasses();
}

void FLX_Node::cookInput(FLX_Node& input, OP_Context& context) {
    input.cook(context);
    settleInputs(context);
}

void FLX_Node::flushPasses() const {
    if (const FLX_ContextData* context = myContext.get()) context->flushPasses();
}

FLX_ParticleList* FLX_Node::getParticleList() {
    flushPasses();
    return &myParticleList;
}

UT_ErrorSeverity FLX_Node::bypassMe(OP_Context& context, int& copiedInput) {
    flags().recook = true;
    myParticleList.clear();
    FLX_ContextData* data = contextOf(context);
    // Passed on: what the operator itself would do with the particles does not count.
    if (nInputs() > 0 && OP_Network::lockInput(0, context) >= UT_ERROR_ABORT) return error();
    copiedInput = 0;
    if (data && doDeleteRewire()) {
        OP_Node* first = nInputs() > 0 ? getInput(0) : nullptr;
        FLX_Node* inputNode = first ? first->castToFLXNode() : nullptr;
        const FLX_ParticleList* input = inputNode ? &inputNode->myParticleList : nullptr;
        for (int i = 0; input && i < input->entries(); ++i) {
            GEO_PrimParticle* prim = input->entry(i).prim;
            if (myParticleList.find(prim)) {
                myParticleList.clear();
                addError(FLX_ERR_DUPLICATE_PARTICLES);
                break;
            }
            myParticleList.add(prim, nullptr);
            if (!data->isGuideOnly()) data->addToParticleList(prim, this, 0);
        }
    } else if (data) {
        GEO_PrimParticle* prim = data->getPrimPart(this);
        myParticleList.add(prim, nullptr);
        if (prim && !data->isGuideOnly()) data->addToParticleList(prim, this, -1);
    }
    if (nInputs() > 0) unlockInput(0);
    if (data) {
        buildInfo(context);
        cacheForDisplay(context);
    }
    return error();
}

void FLX_Node::cacheForDisplay(OP_Context& context) {
    FLX_ContextData* data = contextOf(context);
    if (data && !data->isGuideOnly()) data->cacheDetail(this);
}

void FLX_Node::doPreCook(void* opContext) {
    OP_Context& context = *static_cast<OP_Context*>(opContext);
    FLX_ContextData* data = contextOf(context);
    myDetail = data->peekDetail();
    myContext.set(data);
    myInfoText.clear();
    if (myGuide && data->guidesWanted) myGuide->stashAll();
    flags().recook = true;
}

const FLX_ContextData* FLX_Node::getPrevContextData() const {
    if (const FLX_ContextData* own = myContext.get()) return own;
    OP_Node* input = nInputs() > 0 ? getInput(0) : nullptr;
    FLX_Node* node = input ? input->castToFLXNode() : nullptr;
    return node ? node->myContext.get() : nullptr;
}

// ---- traversal

void FLX_Node::traverse(NodeFunction fn, void* data) {
    OP_Network* network = getParent();
    if (!network) return;
    for (int i = 0; i < network->getNchildren(); ++i)
        if (FLX_Node* node = network->getChild(i)->castToFLXNode()) node->traverseNode(fn, data);
}

void FLX_Node::traverseNode(NodeFunction fn, void* data) {
    if (fn) (this->*fn)(data);
    if (!isSubNetwork(false)) return;
    for (int i = 0; i < getNchildren(); ++i)
        if (FLX_Node* node = getChild(i)->castToFLXNode()) node->traverseNode(fn, data);
}

void FLX_Node::pseudocook(NodeFunction fn, void* data) {
    if (myTraverseVisited) return;
    myTraverseVisited = true;
    if (!myTraversePending) return;
    if (isSubNetwork(false)) {
        OP_Node* output = getBypass() ? nullptr : getRenderNodePtr();
        if (FLX_Node* node = output ? output->castToFLXNode() : nullptr) node->pseudocook(fn, data);
        // Without an output, and while bypassed, the sub-network passes its first input on.
        if (!output)
            if (FLX_Node* node = getInput(0) ? getInput(0)->castToFLXNode() : nullptr; node && !getBypass())
                node->pseudocook(fn, data);
    } else {
        for (int i = 0; i < nInputs(); ++i)
            if (FLX_Node* node = getInput(i) ? getInput(i)->castToFLXNode() : nullptr) node->pseudocook(fn, data);
    }
    if (!getBypass()) (this->*fn)(data);
    myTraversePending = false;
}

void FLX_Node::preCook(OP_Context& context) { traverse(&FLX_Node::doPreCook, &context); }

unsigned FLX_Node::computeNetChecksum() {
    unsigned crc = 0;
    flagAll();
    pseudocook(&FLX_Node::updateChecksum, &crc);
    return crc;
}

void FLX_Node::updateChecksum(void* crc) {
    const uint32_t serial = getChangeSerial();
    UT_CRC::updateCRC(*static_cast<unsigned*>(crc), &serial, 4);
}

void FLX_Node::addAllAttribs(FLX_ContextData* context) {
    if (!context->peekDetail()) return;
    flagAll();
    pseudocook(&FLX_Node::addAttribAtSetup, context);
}

// Messages of the set-up outlive the cooks that follow, so they are kept apart until the next reset.
void FLX_Node::addAttribAtSetup(void* context) {
    setupErrors().clear();
    clearErrors();
    UT_ErrorList outer;
    outer.steal(UTglobalErrors());
    addAttrib(context);
    setupErrors().steal(UTglobalErrors());
    setupErrors().steal(errors()); // what the evaluation of parameters posted
    UTglobalErrors().steal(outer);
}

int FLX_Node::addCatalogueAttrib(FLX_ContextData* context, FLX_Attrib attrib) {
    const int offset = context->addAttrib(attrib);
    if (attrib == FLX_Attrib::Up && offset >= 0) context->addAttrib(FLX_Attrib::PrevVel);
    return offset;
}

// ---- conventions

int FLX_Node::isVarDependent(GU_Detail*, EV_EXPRESSION*, int) { return 0; }
int FLX_Node::isVarDependent(GU_Detail*, const FLX_ParmRef&, float, int) { return 0; }

int FLX_Node::checkActivation(FLX_ContextData* context, const PRM_Float& activate) {
    allowVar(0);
    const float value = activate(context->time);
    allowVar(1);
    return value > 0.0f;
}

void FLX_Node::evalVector(EV_EXPRESSION* expression, float& x, float& y, float& z, int thread, const char* token) {
    ev_Vector value;
    const bool done = ev_EvaluateVector(*expression, value, scope(), CH_Manager::getEvaluateTime(thread), thread);
    x = done ? float(value[0]) : 0;
    y = done ? float(value[1]) : 0;
    z = done ? float(value[2]) : 0;
    if (EV_errNo(thread) && !isTestingVariables()) evaluationError(token, expression->text().c_str(), thread);
}

void FLX_Node::warnDisplayFlag() {
    if (myDisplayWarned) return;
    addWarning(FLX_ERR_DISPLAY_NOT_COOKED);
    stealGlobalErrors();
    opChanged(OP_ERROR_CHANGED, nullptr);
    myDisplayWarned = true;
}

void FLX_Node::unwarnDisplayFlag() {
    if (!myDisplayWarned) return;
    clearErrors();
    opChanged(OP_ERROR_CHANGED, nullptr);
    myDisplayWarned = false;
}
