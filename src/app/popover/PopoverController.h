#pragma once

#include "model/Value.h"

#include <QWidget>

class Document;

/// The content of a popover: a screen that is shown anchored to a button of
/// an archive window, at most one at a time. Each screen is a subclass
/// registered under its class name (PopoverRegistry) and created afresh by
/// the archive window each time it is shown, unless it keeps itself (the
/// search popover lives as long as its archive).
class PopoverController : public QWidget
{
    Q_OBJECT

public:
    explicit PopoverController(QWidget* parent = nullptr);

    Document* document() const { return m_document; }
    void setDocument(Document* document) { m_document = document; }
    /// The object the popover is about (a document, a group), nil for most.
    const Value& representedObject() const { return m_representedObject; }
    void setRepresentedObject(const Value& object) { m_representedObject = object; }
    int actionTag() const { return m_actionTag; }
    void setActionTag(int tag) { m_actionTag = tag; }

    /// Runs once the popover is on screen: focus, first data, timers.
    virtual void popoverViewActions() {}

Q_SIGNALS:
    /// The screen is done (a choice was made, Escape): its popover closes.
    void closeRequested();

private:
    Document* m_document = nullptr;
    Value m_representedObject;
    int m_actionTag = 0;
};
