#pragma once

#include <QVariantHash>

/// Anything placed on a report page can be asked to fill in variables such as
/// "pageNumber". The default does nothing, so callers never need to know which
/// kind of view they hold; text views override it.
class Subsitute
{
public:
    virtual ~Subsitute();

    /// Fills in the variables (name -> QString or PrinterAttributedString). Does nothing here.
    virtual void substituteVariables(const QVariantHash& variables);
};
