#pragma once

#include "util/UserInterface.h"

// The seam on real Qt widgets: QMessageBox, QApplication's beep and busy cursor.
class QtUserInterface final : public UserInterface
{
public:
    int msgBox(const QString& text, int style, const QString& title) override;
    void beep() override;
    void setHourglass(bool on) override;
    void doEvents() override;

private:
    bool m_busy = false;
};
