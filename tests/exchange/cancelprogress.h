#pragma once
// A progress that asks the job to stop after a number of steps, as the
// window's Cancel button would while the bar moves.
#include "progress.h"

struct CancelAtStep : Progress {
    explicit CancelAtStep(int step = 1) : at(step) {}
    int at;

protected:
    void changed() override
    {
        if (value() >= at)
            requestCancel();
    }
};
