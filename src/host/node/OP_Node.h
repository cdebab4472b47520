#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "host/node/OP_Context.h"
#include "host/node/OP_Parameters.h"

class FLX_Node;
class OBJ_Node;
class OP_Node;
class OP_Network;
class OP_Operator;
class OP_PreDefRules;
class SHOP_Node;
class SOP_Node;

enum OP_OpTypeId { OP_ROOT_TYPE = 0, OBJ_OPTYPE_ID = 1, SOP_OPTYPE_ID = 2, FLX_OPTYPE_ID = 3, SHOP_OPTYPE_ID = 4 };

enum OP_EventType {
    OP_PARM_CHANGED = 1,
    OP_INPUT_CHANGED = 4,
    OP_CHILD_CHANGED = 8,
    OP_OUTPUT_CHANGED = 12, ///< what the node hands on is another thing now
    OP_FLAG_CHANGED = 16,
    OP_ERROR_CHANGED = 18,
    OP_GEOMETRY_CHANGED = 20,
    OP_NODE_DELETED = 24,
};

/// Travels with a modification through the dependents; a node is visited once per data. A visited node appends its own
/// dependents to `pending`, so that long chains do not nest calls.
struct OP_PropagateData {
    struct Visit {
        OP_Node* node;
        OP_Node* by;
    };
    unsigned serial = 0;
    OP_EventType event = OP_OUTPUT_CHANGED;
    int index = -1; ///< of the input, for OP_INPUT_CHANGED
    std::vector<Visit> pending{};
};

/// The kind of dependency an extra input stands for.
enum OP_InterestType { OP_INTEREST_NONE = 0, OP_INTEREST_FLAG = 1, OP_INTEREST_DATA = 2 };

/// A flag byte each; `recook` makes a data node cook at every time.
struct OP_NodeFlags {
    bool display = false;
    bool render = false;
    bool bypass = false;
    bool templateFlag = false;
    bool recook = false;
    bool changed = true;        ///< modified since it last cooked
    bool timeDependent = false; ///< its last cook read the time
    bool impure = false;        ///< its last cook read what may change without notice
};

/// A node: parameters, inputs, flags, a place in a network, and the cook protocol.
class OP_Node : public OP_Parameters {
public:
    OP_Node(OP_Network* parent, const char* name, OP_Operator* op);
    ~OP_Node() override;

    // ---- identity
    int getUniqueId() const { return myUniqueId; }
    static OP_Node* lookupNode(int uniqueId);
    const std::string& getName() const { return myName; }
    OP_Network* getParent() const { return myParent; }
    OP_Operator* getOperator() const { return myOperator; }
    std::string getFullPath() const;
    void getPathWithSubnet(UT_String& path) const { path = getFullPath().c_str(); }
    /// The object or manager this node lies in, itself when it is one; null outside an object.
    OBJ_Node* getCreator() const;
    virtual const char* getOpType() const = 0;
    virtual OP_OpTypeId getOpTypeID() const = 0;
    /// Free text of the scene's author.
    std::string comment;

    // ---- inputs. An indirect input stands for whatever its network's own input is wired to.
    void setInput(int i, OP_Node* node);
    void setIndirectInput(int i, int networkInput);
    /// How the inputs were wired, before anything is resolved: inputs 0 … wires() - 1, the node, or which of the
    /// network's inputs (-1: none).
    int wires() const { return int(myInputs.size()); }
    OP_Node* wiredNode(int i) const { return myInputs[size_t(i)].node; }
    int wiredIndirectly(int i) const { return myInputs[size_t(i)].indirect; }
    int nInputs() const;            ///< highest input that getInput finds + 1
    OP_Node* getInput(int i) const; ///< resolved through networks; null when nothing is wired
    /// Inputs beyond this many are not wired.
    static constexpr int maxInputs = 9999;
    virtual UT_String inputLabel(int i) const;
    virtual bool isRefInput(unsigned i) const;

    // ---- flags
    OP_NodeFlags& flags() { return myFlags; }
    const OP_NodeFlags& flags() const { return myFlags; }
    bool getBypass() const { return myFlags.bypass; }
    bool getTemplate() const { return myFlags.templateFlag; }
    void setDisplay(bool on); ///< one display and one render node per network: setting one clears the others
    void setRender(bool on);
    void setBypass(bool on);
    void setTemplate(bool on);

    // ---- cooking
    /// Cooks the node once per pass (or, outside a pass, when it is out of date). True when it ended below abort. A
    /// node that is cooking already, or cooks nested deeper than maxCookDepth, fail with an error.
    bool cook(OP_Context& context);
    static constexpr int maxCookDepth = 1000;
    /// True when the node was modified since it cooked, read the time and cooked at another one, or read something
    /// whose changes nobody announces. What its inputs and extra inputs read counts as read by the node.
    virtual bool needToCook(OP_Context& context, bool query = false);
    /// Cooks every input (one input); the worst of their severities. A failed input is posted as an error of this node.
    UT_ErrorSeverity lockInputs(OP_Context& context);
    UT_ErrorSeverity lockInput(int i, OP_Context& context);
    void unlockInputs() {}
    void unlockInput(int) {}
    bool isCooking() const { return myCooking; }
    unsigned cookCount() const { return myCookCount; }

    // ---- change
    /// Raised whenever the node's result would change.
    uint32_t getChangeSerial() const { return myChangeSerial; }
    /// Raises the serial, marks the node and everything that depends on it. Error events only concern interfaces, flag
    /// events only those who asked for flags: they change no result.
    void opChanged(int event, void* data = nullptr);
    virtual void propagateModification(OP_Node* by, OP_PropagateData& data);
    void parmChanged(PRM_Parm& parm) override;
    void noteTimeRead() override { myFlags.timeDependent = true; }
    void noteImpureRead() override { myFlags.impure = true; }
    /// Makes this node depend on another beside its inputs; the same node twice is one dependency. What a cook does
    /// not add again goes when it succeeds.
    void addExtraInput(OP_Node* node, OP_InterestType interest);
    void clearExtraInputs();
    const std::vector<OP_Node*>& extraInputs() const { return myExtraInputs; }

    // ---- looking around
    /// A node by path: absolute, or relative to this node ("../birth").
    OP_Node* findNode(const char* path);
    OBJ_Node* findOBJNode(const char* path);
    /// A SOP by path; an object's path gives its display SOP. With addExtraInput this node depends on it.
    SOP_Node* getSOPNode(const char* path, int addExtraInput = 0);
    SHOP_Node* findSHOPNode(const char* path);

    virtual OP_Network* castToNetwork() { return nullptr; }
    virtual FLX_Node* castToFLXNode() { return nullptr; } ///< the particle library's nodes say yes
    virtual OBJ_Node* castToOBJNode() { return nullptr; }
    virtual SOP_Node* castToSOPNode() { return nullptr; }
    virtual SHOP_Node* castToSHOPNode() { return nullptr; }
    OP_Node* castToNode() override { return this; }
    virtual bool isSubNetwork(bool) const { return false; }

    // ---- text and tiles
    static const char* const OP_INFO_SEPARATOR_STRING;
    virtual void getNodeSpecificInfoText(OP_Context& context, int verbose, std::string& text);
    /// Starts a line of written code: four blanks a step.
    static void writeIndent(std::ostream& os, int steps);
    static double getNodeButtonWidth() { return 0.5; }
    static double getFlagWidth() { return 0.15; }
    static double getNodeHeight() { return 0.3; }
    static double getConnectorHeight() { return 0.07; }
    virtual double getW() const { return getNodeButtonWidth() + 2 * getFlagWidth(); }
    virtual double getH() const { return getNodeHeight(); }
    /// Fills a menu with the children of `parent` that pass the filter (null: all); returns the entries written, the
    /// terminator is the caller's.
    static int buildOpMenu(OP_Network* parent, PRM_Name* names, int size, bool (*filter)(OP_Node*));
    /// Fills a menu with the rules of a set and ends it; token and label are the rule's name. The set must outlive the
    /// menu.
    static void buildPreDefRulesMenu(PRM_Name* names, int size, const OP_PreDefRules& rules);

    const OP_VariablePair* variablePair() const override;
    std::string messagePath() const override { return getFullPath(); }

protected:
    virtual UT_ErrorSeverity cookMe(OP_Context& context) = 0;
    virtual UT_ErrorSeverity bypassMe(OP_Context& context, int& copiedInput) = 0;

    bool ownsGlobalErrors() const override;

private:
    friend class OP_Director;
    friend class OP_Network;
    struct Input {
        OP_Node* node = nullptr;
        int indirect = -1;
    };
    struct Interest {
        int type = OP_INTEREST_NONE;
        bool renewed = true;
    };

    void wire(int i, Input input);
    /// Cuts every wire and dependency from and to this node and tells those who depended on it.
    void disconnect();
    void dropReferencesTo(OP_Node* node);
    void eraseExtraInput(size_t i);
    void modified(OP_EventType event, int index = -1);
    void flagChanged(OP_EventType event);
    void pushDependents(OP_PropagateData& data, bool flag);

    void runCook(OP_Context& context, unsigned request);
    void beginCook();
    void endCook(OP_Context& context, unsigned request, UT_ErrorSeverity result);
    void inheritReads(const OP_Node& from);
    UT_ErrorSeverity cookSeverity() const;

    inline static bool ourTearDown = false; // a whole scene goes: nobody is left to be told

    std::string myName;
    OP_Network* myParent = nullptr;
    OP_Operator* myOperator = nullptr;
    int myUniqueId = 0; // 0: a prototype
    std::vector<Input> myInputs;
    std::vector<OP_Node*> myOutputs; // nodes wired to this one, with repeats
    std::vector<OP_Node*> myExtraInputs;
    std::vector<Interest> myInterests; // one per extra input
    std::vector<OP_Node*> myExtraOutputs;
    OP_NodeFlags myFlags;
    uint32_t myChangeSerial = 1;
    unsigned myVisitSerial = 0;
    unsigned myPass = 0;
    unsigned myRequest = 0;
    void* myPassData = nullptr;
    float myCookTime = 0;
    unsigned myCookCount = 0;
    UT_ErrorSeverity myCookResult = UT_ERROR_NONE;
    bool myCooking = false;
};
