#pragma once

#include <string>
#include <vector>

#include "host/node/PRM_Parm.h"

class OP_Parameters;

/// The history of parameter changes. Off until enabled. Changes inside a block are one step, a change outside any block
/// is a step of its own. Not for use from several threads at once.
class OP_UndoManager {
public:
    static OP_UndoManager& instance();

    /// Switching off forgets the history.
    void setEnabled(bool on);
    bool enabled() const { return myEnabled; }

    /// Blocks nest; the outermost names the step. A block without changes leaves no step.
    void begin(const char* name);
    void end();

    /// Takes back the last step (does the next one again). False when there is none or a block is open. Changes of
    /// nodes and parameters that no longer exist are skipped.
    bool undo();
    bool redo();
    int undoSteps() const { return myPosition; }
    int redoSteps() const { return int(mySteps.size()) - myPosition; }
    /// The name of the step that undo() takes back; empty when there is none.
    std::string undoName() const { return myPosition > 0 ? mySteps[size_t(myPosition) - 1].name : std::string(); }
    void clear();

    /// Records what happens to a parameter while this lives.
    class Recording {
    public:
        Recording(OP_Parameters& node, const PRM_Parm& parm);
        ~Recording();
        Recording(const Recording&) = delete;
        Recording& operator=(const Recording&) = delete;

    private:
        const PRM_Parm* myParm = nullptr; // null: not recording
        int myNode = 0;
        PRM_ParmValue myBefore;
    };

    static constexpr int maxSteps = 1000; ///< older ones are forgotten

private:
    struct Change {
        int node; // unique id
        std::string token;
        PRM_ParmValue before, after;
    };
    struct Step {
        std::string name;
        std::vector<Change> changes;
    };
    void add(Change change);
    void push(Step step);
    static void apply(const Change& change, const PRM_ParmValue& value);

    bool myEnabled = false;
    int myOpen = 0;
    Step myOpenStep;
    std::vector<Step> mySteps;
    int myPosition = 0; // steps before it are done, those from it on are undone
};

void UTbeginUndoBlock(const char* name);
void UTendUndoBlock();

/// An undo block for a scope.
class OP_UndoBlock {
public:
    explicit OP_UndoBlock(const char* name) { UTbeginUndoBlock(name); }
    ~OP_UndoBlock() { UTendUndoBlock(); }
    OP_UndoBlock(const OP_UndoBlock&) = delete;
    OP_UndoBlock& operator=(const OP_UndoBlock&) = delete;
};
