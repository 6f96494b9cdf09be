#pragma once

#include "Place.h"

#include <vector>

namespace farm {

/// Runs a job with a worker in each place.
class Farm {
public:
    explicit Farm(Job& job);

    /// Comes back when all tiles are in the picture, or no place is left, or after an interrupt: at the first one the
    /// workers finish their tiles, at a second one they are killed. True when all tiles are there.
    bool Run();

    const std::vector<std::unique_ptr<Place>>& Places() const { return m_places; }

private:
    void Supervise();
    bool AllOver() const;

    Job& m_job;
    std::vector<std::unique_ptr<Place>> m_places;
};

}
