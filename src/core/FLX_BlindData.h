#pragma once

class FLX_ContextData;
class FLX_Node;

/// Private data that an operator keeps in a context: it travels with copies of the context and can be dropped at reset.
class FLX_BlindData {
public:
    explicit FLX_BlindData(const FLX_Node* owner);
    FLX_BlindData(const FLX_BlindData&) = default;
    FLX_BlindData& operator=(const FLX_BlindData&) = default;
    virtual ~FLX_BlindData();

    /// A copy for another context, made from the data of `source`; null when none can be made.
    virtual FLX_BlindData* duplicate(const FLX_ContextData& source) = 0;
    /// Whether the data is dropped when the context's offsets are reset.
    virtual int resetSimulation();

    FLX_Node* getOwner() const;
    int ownerId() const { return myOwnerId; }

private:
    int myOwnerId; // -1 without an owner
};
