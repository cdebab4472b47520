#pragma once

#include "host/geo/GU_Detail.h"

#include <memory>

/// Shared ownership of a detail. Copies share; the last owning handle to go deletes.
class GU_DetailHandle {
public:
    GU_DetailHandle() = default;

    /// Takes a detail. With `own` the handles delete it when the last of them lets go.
    void allocateAndSet(GU_Detail* detail, int own = 1) {
        if (own)
            myDetail.reset(detail);
        else
            myDetail = std::shared_ptr<GU_Detail>(std::shared_ptr<void>(), detail);
    }
    /// Lets go.
    void clear() { myDetail.reset(); }
    /// Deletes an owned detail's content for every sharer and lets go: the others see an empty detail.
    void deleteGdp() {
        if (myDetail) myDetail->stashAll();
        clear();
    }
    GU_Detail* peekDetail() const { return myDetail.get(); }
    bool isValid() const { return myDetail != nullptr; }
    explicit operator bool() const { return isValid(); }
    bool operator==(const GU_DetailHandle& other) const { return myDetail == other.myDetail; }

private:
    std::shared_ptr<GU_Detail> myDetail;
};
