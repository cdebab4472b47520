#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/node/OP_Context.h"
#include "host/node/OP_Parameters.h"

class FLX_Node;
class OBJ_Node;
class OP_Network;
class OP_Operator;
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

/// Travels with a modification through the dependents; a node is visited once per data.
struct OP_PropagateData {
    unsigned serial = 0;
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
    int nInputs() const { return int(myInputs.size()); } ///< highest wired input + 1
    OP_Node* getInput(int i) const;                      ///< resolved through networks; null when nothing is wired
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
    /// Cooks the node once per pass (or, outside a pass, when it is out of date). True when it ended below abort.
    bool cook(OP_Context& context);
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
    void opChanged(int event, void* data = nullptr);
    virtual void propagateModification(OP_Node* by, OP_EventType event, int index, OP_PropagateData& data);
    void parmChanged(PRM_Parm& parm) override;
    /// Makes this node depend on another beside its inputs; the same node twice is one dependency.
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
    static double getNodeButtonWidth() { return 0.5; }
    static double getFlagWidth() { return 0.15; }
    static double getNodeHeight() { return 0.3; }
    static double getConnectorHeight() { return 0.07; }
    virtual double getW() const { return getNodeButtonWidth() + 2 * getFlagWidth(); }
    virtual double getH() const { return getNodeHeight(); }
    /// Fills a menu with the children of `parent` that pass the filter (null: all); returns the entries written, the
    /// terminator is the caller's.
    static int buildOpMenu(OP_Network* parent, PRM_Name* names, int size, bool (*filter)(OP_Node*));

    const OP_VariablePair* variablePair() const override;
    std::string messagePath() const override { return getFullPath(); }

protected:
    virtual UT_ErrorSeverity cookMe(OP_Context& context) = 0;
    virtual UT_ErrorSeverity bypassMe(OP_Context& context, int& copiedInput) = 0;

private:
    friend class OP_Network;
    struct Input {
        OP_Node* node = nullptr;
        int indirect = -1;
    };
    void dropReferencesTo(OP_Node* node);
    void runCook(OP_Context& context);

    std::string myName;
    OP_Network* myParent;
    OP_Operator* myOperator;
    int myUniqueId;
    std::vector<Input> myInputs;
    std::vector<OP_Node*> myOutputs; // nodes wired to this one, with repeats
    std::vector<OP_Node*> myExtraInputs;
    std::vector<OP_Node*> myExtraOutputs;
    OP_NodeFlags myFlags;
    uint32_t myChangeSerial = 1;
    unsigned myVisitSerial = 0;
    unsigned myPass = 0;
    void* myPassData = nullptr;
    float myCookTime = 0;
    unsigned myCookCount = 0;
    bool myCooking = false;
};
