#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <functional>

class QWidget;

/// What a screen's picture is made in: the language and theme of this round,
/// a scratch folder for fixture archives, and objects to delete after the grab.
class ScreenContext
{
public:
    ScreenContext(const QString& language, bool dark, const QString& scratchFolder);
    ~ScreenContext();

    QString language() const { return m_language; }
    bool isDark() const { return m_dark; }
    /// A new, unused path inside the scratch folder.
    QString freshPath(const QString& stem);
    /// Deleted after the picture was taken (the window a popover hangs on).
    void keep(QObject* object) { m_kept.append(object); }
    /// Marks the screen as not possible here (no scanner answers): the render
    /// function returns nullptr and no picture is expected.
    void skip(const QString& reason) { m_skipReason = reason; }
    QString skipReason() const { return m_skipReason; }
    /// Runs the event loop until @p condition holds or @p ms milliseconds passed.
    static bool waitFor(const std::function<bool()>& condition, int ms = 2000);
    /// Runs the event loop for @p ms milliseconds: layouts, timers and paints settle.
    static void settle(int ms = 150);

private:
    QString m_language;
    bool m_dark;
    QString m_scratch;
    QString m_skipReason;
    QList<QPointer<QObject>> m_kept;
};

/// Every screen that render_screens pictures, by name. A screen is a
/// function returning the widget to grab (shown, laid out); it is added with
/// QUILLARC_SCREEN in a source file of its own in this folder.
class ScreenRegistry
{
public:
    using Render = std::function<QWidget*(ScreenContext&)>;
    struct Entry
    {
        QString name;
        Render render;
    };

    static bool add(const QString& name, Render render);
    static const QList<Entry>& all();
};

#define QUILLARC_SCREEN_CONCAT2(a, b) a##b
#define QUILLARC_SCREEN_CONCAT(a, b) QUILLARC_SCREEN_CONCAT2(a, b)
/// QUILLARC_SCREEN("welcome", [](ScreenContext& context) -> QWidget* { ... });
#define QUILLARC_SCREEN(name, ...)                                                                                     \
    static const bool QUILLARC_SCREEN_CONCAT(screenRegistered_, __LINE__)                                              \
        = ScreenRegistry::add(QStringLiteral(name), __VA_ARGS__)
