#pragma once

#include "store/Document.h"

/// The question of an archive that another computer or user holds open, as a
/// critical alert that must be answered before the archive is read further.
class OpenElsewhereAlert : public OpenElsewhereQuestion
{
public:
    Answer askOpenElsewhere(const QString& title, const QString& message, const QString& quitButton,
        const QString& continueButton) override;
};
