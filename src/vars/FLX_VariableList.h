#pragma once

#include <deque>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "host/ut/UT_IncludeFileManager.h"
#include "host/ut/UT_SymbolTable.h"
#include "vars/FLX_VariableEntries.h"

class FLX_Node;

/// The names that source code written for a particle network may use, which of them it does use, and the declarations
/// for those. Clients that generate code fill it, mark what they write, and then ask for the declarations.
///
/// Names of one kind are looked up among the latest of that name; the counted arrays keep all of them, in the order
/// they were added. Null texts count as empty. One thread at a time.
class FLX_VariableList {
public:
    /// Starts with the default globals and what the file "middleware/FLX/varlist.tbl" of the search path holds.
    FLX_VariableList();
    virtual ~FLX_VariableList();
    FLX_VariableList(const FLX_VariableList&) = delete;
    FLX_VariableList& operator=(const FLX_VariableList&) = delete;

    // ---- filling
    /// Adds the entries of a table file found on the search path: 0, or -1 when it is not found, empty or unreadable.
    /// Per line one entry, fields separated by blanks; other lines, and those that start with "#", mean nothing:
    ///     attribute NAME METHOD [SIZE]
    ///     access NAME TYPE SECOND THIRD [COUNT]
    ///     variable NAME ACCESS [EXPRESSION ...]
    ///     func NAME TRANSLATION [ARGUMENT ...]
    int load(const char* file);
    void addDefaultGlobals();

    /// All adders return the index of the new entry.
    /// The type is "int" when the access entry's is, else "float".
    int addVariable(const char* name, const char* access, const char* expression, int flag);
    int addAccess(const char* name, const char* type, const char* second, const char* third, int count);
    int addAttribute(const char* name, const char* method, int size);
    int addGlobal(const char* name, const char* expression, int first, int second);
    int addParam(const char* name, const char* type);
    int addPreDefine(const char* name);
    int addStream(const UT_String& name); ///< -1 when there is one of that name
    int addFuncXlate(const char* name, const char* translation, const char* arguments);

    // ---- looking up; null when there is none
    FLX_VariableEntry* findVariable(const char* name) const { return myVariables.find(name); }
    FLX_AccessEntry* findAccess(const char* name) const { return myAccesses.find(name); }
    FLX_StreamEntry* findStream(const char* name) const { return myStreams.find(name); }
    FLX_GlobalEntry* findGlobal(const char* name) const { return myGlobals.find(name); }
    FLX_AttributeEntry* findAttribute(const char* name) const { return myAttributes.find(name); }
    FLX_FuncEntry* findFuncXlate(const char* name) const { return myFuncs.find(name); }

    int numvar() const { return myVariables.entries(); }
    FLX_VariableEntry* variable(int i) const { return myVariables[i]; }
    int numaccess() const { return myAccesses.entries(); }
    FLX_AccessEntry* access(int i) const { return myAccesses[i]; }
    int numstream() const { return myStreams.entries(); }
    FLX_StreamEntry* stream(int i) const { return myStreams[i]; }
    int numglobal() const { return myGlobals.entries(); }
    FLX_GlobalEntry* global(int i) const { return myGlobals[i]; }
    int numattribs() const { return myAttributes.entries(); }
    FLX_AttributeEntry* attrib(int i) const { return myAttributes[i]; }
    int numfuncxlate() const { return myFuncs.entries(); }
    FLX_FuncEntry* funcxlate(int i) const { return myFuncs[i]; }
    int numparam() const { return int(myParams.size()); }
    const char* paramname(int i) const { return myParams[size_t(i)].name.c_str(); }
    const char* paramtype(int i) const { return myParams[size_t(i)].type.c_str(); }
    int numpredefine() const { return int(myPreDefines.size()); }
    const char* predefine(int i) const { return myPreDefines[size_t(i)].c_str(); }

    // ---- what the generated code uses
    /// Marks a variable and its access entry; names that are not in the list are passed over.
    void useVariable(const char* name);
    void useAccess(const char* name);
    /// As useAccess; for code that reads an entry only where it happens to exist.
    void useSoftAccess(const char* name) { useAccess(name); }
    void useAttribute(const char* name);
    bool isAccessTypeUsedAtAll(const char* type) const;
    /// Nothing is in use now; what was used at all stays.
    void resetUsed();
    /// Saves what is marked, of which nothing stays marked, and brings it back.
    void pushVariableState();
    void restoreVariableState();

    void setBuildState(const char* name, int state) { myBuildStates.add(name ? name : "", state); }
    bool testBuildState(const char* name) const { return myBuildStates.find(name ? name : "") != nullptr; }
    int getBuildState(const char* name) const {
        return myBuildStates.lookup(name ? name : "");
    } ///< 0 when it is not set

    // ---- nested networks: which nodes have been written in the network being written and those around it
    void pushNodeFrame();
    void dropNodeFrame();
    void markNodeWritten(const char* streamName, const FLX_Node* node);
    bool hasNodeBeenWritten(const FLX_Node* node) const;
    /// False, and `name` unchanged, when the node has not been written.
    bool getNodeStreamName(UT_String& name, const FLX_Node* node) const;
    void deferNode(FLX_Node* node);
    FLX_Node* takeDeferredNode(); ///< the first deferred of the innermost network; null when none is left

    /// For another network: nothing is used, functions, predefines, includes and globals are forgotten, and the
    /// default globals added.
    void resetAll();

    // ---- where code goes
    void setGlobalPrefixStream(std::ostream* os) { myGlobalPrefix = os; }
    std::ostream* getGlobalPrefixStream() const { return myGlobalPrefix; }
    void setGlobalSuffixStream(std::ostream* os) { myGlobalSuffix = os; }
    std::ostream* getGlobalSuffixStream() const { return myGlobalSuffix; }
    void setHeaderStream(std::ostream* os) { myHeader = os; }
    std::ostream* getHeaderStream() const { return myHeader; }
    void setFunctionPrefix(const char* prefix) { myFunctionPrefix = prefix; }
    const UT_String& getFunctionPrefix() const { return myFunctionPrefix; }
    void setChannelForce(int on) { myChannelForce = on; }
    int getChannelForce() const { return myChannelForce; }
    UT_IncludeFileManager& getManager() { return myManager; }
    const UT_SymbolTable<FLX_FuncEntry*>& getFuncXlateTable() const { return myFuncs.table(); }

    // ---- writing
    /// The class that holds the used access entries whose names begin with "lvar.".
    void writeLocalVarClass(const char* name, std::ostream& os) const;
    /// Pointers for the other used access entries, the used variables, and indices of the used attributes; `detail` is
    /// the detail's name in the code.
    void writeDeclarations(const char* detail, std::ostream& os) const;
    void writeVariableDeclarations(std::ostream& os) const;
    /// Statements that create the used attributes.
    void writeAttributeInit(const char* detail, std::ostream& os) const;

private:
    /// Owned entries in order, and by name.
    template <class T> class Entries {
    public:
        int add(T entry) {
            myOwned.push_back(std::make_unique<T>(std::move(entry)));
            myTable.add(myOwned.back()->name, myOwned.back().get());
            return entries() - 1;
        }
        T* find(const char* name) const { return name ? myTable.lookup(name) : nullptr; }
        int entries() const { return int(myOwned.size()); }
        T* operator[](int i) const { return myOwned[size_t(i)].get(); }
        auto begin() const { return myOwned.begin(); }
        auto end() const { return myOwned.end(); }
        void clear() {
            myTable.clear();
            myOwned.clear();
        }
        const UT_SymbolTable<T*>& table() const { return myTable; }

    private:
        UT_SymbolTable<T*> myTable;
        std::vector<std::unique_ptr<T>> myOwned;
    };
    struct Param {
        UT_String name;
        UT_String type;
    };
    using NodeNames = UT_SymbolTable<std::string>; // stream name by the node's unique id

    void loadLine(const std::string& line);
    template <class Fn> void forEachFlag(Fn&& fn);
    const std::string* writtenName(const FLX_Node* node) const;

    Entries<FLX_AccessEntry> myAccesses;
    Entries<FLX_VariableEntry> myVariables;
    Entries<FLX_StreamEntry> myStreams;
    Entries<FLX_GlobalEntry> myGlobals;
    Entries<FLX_AttributeEntry> myAttributes;
    Entries<FLX_FuncEntry> myFuncs;
    UT_SymbolTable<int> myBuildStates;
    std::vector<Param> myParams;
    std::vector<UT_String> myPreDefines;
    std::vector<NodeNames> myNodeFrames;
    std::vector<std::deque<FLX_Node*>> myDeferred;
    UT_IncludeFileManager myManager;
    std::ostream* myGlobalPrefix = nullptr;
    std::ostream* myGlobalSuffix = nullptr;
    std::ostream* myHeader = nullptr;
    UT_String myFunctionPrefix;
    int myChannelForce = 0;
};
