#pragma once

#include "LVAlert.h"

#include <functional>

class QWidget;

// Shows alerts for the main window: a window-modal message box (a sheet on macOS). Tests put a
// presenter of their own in its place to read the alerts and answer them.
class LVAlertPresenter
{
public:
    using Completion = std::function<void(int response)>;

    virtual ~LVAlertPresenter() = default;

    // Shows the alert over `window` (or on its own without one) and returns at once; the completion,
    // if any, receives the response of the button that closed it.
    virtual void present(const LVAlert& alert, QWidget* window, Completion completion);
};
