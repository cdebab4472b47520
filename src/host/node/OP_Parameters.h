#pragma once

#include <string>
#include <vector>

#include "host/expr/EV_Scope.h"
#include "host/node/CH_Collection.h"
#include "host/node/OP_VariablePair.h"
#include "host/node/PRM_ParmList.h"
#include "host/ut/UT_ErrorLog.h"
#include "host/ut/UT_String.h"

class PRM_Toggle;
class PRM_Menu;
class PRM_Float;
class PRM_Int;
class PRM_Text;
class PRM_Folders;
class PRM_Multi;
class PRM_Button;
template <int N> class PRM_Floats;
class OP_Node;

/// Collects the rows of a class while its prototype is constructed on this thread; see PRM_Handle.h.
class PRM_Recorder {
public:
    explicit PRM_Recorder(PRM_TemplateTable& table);
    ~PRM_Recorder();
    PRM_Recorder(const PRM_Recorder&) = delete;
    PRM_Recorder& operator=(const PRM_Recorder&) = delete;

    static PRM_Recorder* current();
    /// The first node constructed after the recorder is the prototype; nodes it makes in turn are ordinary ones.
    void claim(const OP_Parameters* node);
    bool records(const OP_Parameters* node) const { return myPrototype == node; }
    /// The new row and its index.
    PRM_Template& append(int& index);

private:
    PRM_TemplateTable& myTable;
    PRM_Recorder* myOuter;
    const OP_Parameters* myPrototype = nullptr;
};

/// The parameters, local variables and messages of a node.
class OP_Parameters {
public:
    using Float = PRM_Float;
    template <int N> using Floats = PRM_Floats<N>;
    using Int = PRM_Int;
    using Toggle = PRM_Toggle;
    using Menu = PRM_Menu;
    using Text = PRM_Text;
    using Folders = PRM_Folders;
    using Multi = PRM_Multi;
    using Button = PRM_Button;

    OP_Parameters();
    virtual ~OP_Parameters();
    OP_Parameters(const OP_Parameters&) = delete;
    OP_Parameters& operator=(const OP_Parameters&) = delete;

    // ---- declaration (see PRM_Handle.h)

    /// Index of the next row of this class; while the prototype records, `row` is set to the row to fill.
    int declareParm(PRM_Template*& row);
    const PRM_Template& parmTemplate(int index) const { return myParms.parm(index).row(); }

    // ---- values. Indices are rows of the class; names are tokens (multi-instances and spare parameters included).
    // Hard ranges clamp. A failed evaluation gives 0 (or what was computed), sets the thread's expression error number
    // and posts an error with node, token and column. A name that does not exist gives 0 or "".

    float evalFloat(int index, int component, float t, int thread = 0);
    int evalInt(int index, int component, float t, int thread = 0);
    /// A number as it was typed or its default: neither expression nor key frames.
    bool isTyped(int index, int component) const;
    UT_String evalString(int index, float t, int thread = 0);
    UT_String evalStringRaw(int index) const;
    float evalFloat(const char* name, int component, float t, int thread = 0);
    int evalInt(const char* name, int component, float t, int thread = 0);
    void evalString(UT_String& value, const char* name, int component, float t, int thread = 0);
    void evalStringRaw(UT_String& value, const char* name) const;
    /// The same with full precision, for `ch`.
    double evalNumber(PRM_Parm& parm, int component, double t, int thread);

    /// Tell the node that what is evaluated depends on the time, or on something whose changes nobody announces.
    virtual void noteTimeRead() {}
    virtual void noteImpureRead() {}

    bool hasParm(const char* name) const { return myParms.find(name) != nullptr; }
    PRM_ParmList& parms() { return myParms; }
    const PRM_ParmList& parms() const { return myParms; }

    /// How a string is taken by setString.
    enum StringMeaning { Expand = 0, Literal = 3 };
    void setFloat(const char* name, int component, double value);
    void setInt(const char* name, int component, int value) { setFloat(name, component, value); }
    void setExpression(const char* name, int component, const char* text);
    void setKeys(const char* name, int component, const CH_Channel& channel);
    void setString(const char* name, const UT_String& text, StringMeaning meaning = Expand);
    /// Raises the change serial and tells dependents; the setters call it.
    virtual void parmChanged(PRM_Parm& parm);

    // ---- enabling
    /// Returns 1 when the state changed.
    unsigned enableParm(const char* name, int state);
    /// Applies the templates' enable rules; returns the number of parameters whose state changed.
    virtual unsigned disableParms();

    // ---- loading old scenes
    /// The type's obsolete parameters that a file gave values to; the operator moves them to today's parameters.
    virtual void resolveObsoleteParms(PRM_ParmList* obsolete);

    // ---- local variables
    virtual float getVariableValue(int index, int thread);
    /// True while an operator evaluates a parameter only to learn what it reads: errors that a variable raises are not
    /// posted.
    virtual bool isTestingVariables() const { return false; }
    /// Off while what is evaluated may not read local variables: reading one fails, and switches them on again.
    virtual void allowVar(int) {}
    virtual const CH_LocalVariable* resolveExtraVariableForSyntaxHighlight(const char* name);
    CH_Collection* getCollection() { return &myCollection; }
    /// The operator type's variable chain; null for none.
    virtual const OP_VariablePair* variablePair() const { return nullptr; }
    EV_Scope& scope() { return *myScope; }

    // ---- messages
    /// Severity of the messages of the running or last cook, those still in the global list included.
    UT_ErrorSeverity error();
    void stealGlobalErrors();
    void clearErrors() { myErrors.clear(); }
    UT_ErrorList& errors() { return myErrors; }
    const UT_ErrorList& errors() const { return myErrors; }
    /// Messages of attribute set-up at reset: shown and counted until the next reset, no part of error().
    UT_ErrorList& setupErrors() { return mySetupErrors; }
    const UT_ErrorList& setupErrors() const { return mySetupErrors; }
    UT_String getErrorMessages() const;
    /// Posts the thread's pending expression error as an error of this node: `<token>: <what went wrong>`. `text` is
    /// the expression, for errors that were raised without a message.
    void evaluationError(const char* token, const char* text, int thread);
    /// Warns that the value of a parameter was no number and a bound was used instead.
    void warnNotANumber(const PRM_Template& row);

    /// Full path for messages; "" for a prototype.
    virtual std::string messagePath() const { return {}; }
    virtual OP_Node* castToNode() { return nullptr; }

protected:
    /// Called by the node's constructor: values start at the defaults of `table`. Null while a prototype records.
    void initParms(const PRM_TemplateTable* table);
    /// True for the object whose construction fills a recorder's table.
    bool isPrototype() const;

    /// True when messages in the thread's global list are this object's own.
    virtual bool ownsGlobalErrors() const { return true; }

private:
    friend class OP_NodeScope;
    friend class OP_UndoManager;
    class Refusal;

    PRM_Parm* parmAt(int index) {
        return unsigned(index) < unsigned(myParms.entries()) ? &myParms.parm(index) : nullptr;
    }
    double evaluateComponent(PRM_Parm& parm, int component, double t, int thread);
    UT_String evaluateText(PRM_Parm& parm, int component, double t, int thread);
    void noteAnalysis(const EV_Analysis& analysis);
    template <class Change> void changeParm(const char* name, const Change& change);

    PRM_ParmList myParms;
    int myDeclared = 0;
    int myNumRefusals = 0; // evaluations under way whose parameter refuses local variables
    CH_Collection myCollection;
    std::unique_ptr<EV_Scope> myScope;
    UT_ErrorList myErrors;
    UT_ErrorList mySetupErrors;
};
