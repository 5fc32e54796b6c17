#include "app/popover/InfoPopover.h"

#include "app/i18n/Localizer.h"
#include "app/popover/Popover.h"
#include "app/style/Icons.h"
#include "app/util/ExternalOpen.h"
#include "controls/ControlStyle.h"
#include "controls/KVButton.h"
#include "controls/KVLinkButton.h"
#include "controls/KVTessaryProgress.h"
#include "controls/TessaryBeachBallView.h"
#include "store/Document.h"
#include "store/IntegrityValidator.h"
#include "text/KVLocalizationDictionary.h"

#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace {
constexpr int stateIconSize = 18;

QLabel* headingLabel(const char* key, QWidget* parent)
{
    auto* label = new QLabel(QString::fromLatin1(key), parent);
    label->setAlignment(Qt::AlignRight | Qt::AlignTop);
    QPalette palette = label->palette();
    QColor text = palette.color(QPalette::WindowText);
    text.setAlphaF(0.65f);
    palette.setColor(QPalette::WindowText, text);
    label->setPalette(palette);
    return label;
}
} // namespace

InfoPopover::InfoPopover(QWidget* parent)
    : PopoverController(parent)
{
    setObjectName(QStringLiteral("DocumentInfo_Popover"));
    buildLayout();
    Localizer::localize(this);
}

InfoPopover::~InfoPopover() = default;

IntegrityValidator* InfoPopover::validatorFor(Document* document)
{
    if (!document)
        return nullptr;
    const QString name = QStringLiteral("archiveIntegrityValidator");
    if (auto* existing = document->findChild<IntegrityValidator*>(name, Qt::FindDirectChildrenOnly))
        return existing;
    auto* validator = new IntegrityValidator(document, document);
    validator->setObjectName(name);
    return validator;
}

void InfoPopover::buildLayout()
{
    setMinimumWidth(440);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 14, 16, 14);
    layout->setSpacing(10);

    auto* title = new QLabel(QStringLiteral("INFO_POPOVER_TITLE"), this);
    QFont titleFont = title->font();
    titleFont.setWeight(QFont::DemiBold);
    titleFont.setPointSizeF(titleFont.pointSizeF() + 1);
    title->setFont(titleFont);
    layout->addWidget(title);

    auto* grid = new QGridLayout;
    // The link's text sits inside room for its focus ring: the column's other
    // texts move in by as much, so every line of the column starts at one edge.
    const int inset = KVLinkButton::textInset();
    grid->setHorizontalSpacing(10 - inset);
    grid->setVerticalSpacing(8);
    grid->setColumnStretch(1, 1);

    m_path = new QLabel(this);
    m_path->setObjectName(QStringLiteral("packagePath"));
    m_path->setWordWrap(true);
    m_path->setContentsMargins(inset, 0, 0, 0);
    Localizer::markAsData(m_path);
    m_reveal = new KVLinkButton(QStringLiteral("INFO_SHOW_IN_FOLDER"), this);
    auto* pathBox = new QVBoxLayout;
    pathBox->setSpacing(2);
    pathBox->addWidget(m_path);
    pathBox->addWidget(m_reveal, 0, Qt::AlignLeft);
    grid->addWidget(headingLabel("INFO_LOCATION", this), 0, 0);
    grid->addLayout(pathBox, 0, 1);

    m_stateIcon = new QStackedWidget(this);
    m_stateIcon->setFixedSize(stateIconSize, stateIconSize);
    m_spinner = new TessaryBeachBallView(m_stateIcon);
    m_stateImage = new QLabel(m_stateIcon);
    m_stateIcon->addWidget(m_spinner);
    m_stateIcon->addWidget(m_stateImage);
    m_state = new QLabel(this);
    m_state->setObjectName(QStringLiteral("integrityState"));
    m_state->setWordWrap(true);
    Localizer::markAsData(m_state);
    auto* stateRow = new QHBoxLayout;
    stateRow->setSpacing(6);
    stateRow->addWidget(m_stateIcon, 0, Qt::AlignTop);
    stateRow->addWidget(m_state, 1);
    m_progress = new KVTessaryProgress(this);
    // A validation is not stopped from here (closing lets it finish): no Cancel beside the bar.
    m_progress->setCancelVisible(false);
    m_progress->setVisible(false);
    m_failLog = new KVButton(QStringLiteral("INFO_OPEN_INTEGRITY_LOG"), this);
    m_failLog->setVisible(false);
    auto* stateLines = new QVBoxLayout;
    stateLines->setContentsMargins(inset, 0, 0, 0);
    stateLines->setSpacing(6);
    stateLines->addLayout(stateRow);
    stateLines->addWidget(m_progress);
    // The button's frame, not its focus ring, lines up with the texts above.
    auto* failLogRow = new QHBoxLayout;
    failLogRow->setContentsMargins(qMax(0, inset - ControlStyle::focusMargin), 0, 0, 0);
    failLogRow->addWidget(m_failLog, 0, Qt::AlignLeft);
    auto* stateBox = new QVBoxLayout;
    stateBox->setSpacing(6);
    stateBox->addLayout(stateLines);
    stateBox->addLayout(failLogRow);
    grid->addWidget(headingLabel("INFO_INTEGRITY", this), 1, 0);
    grid->addLayout(stateBox, 1, 1);
    layout->addLayout(grid);

    connect(m_reveal, &QAbstractButton::clicked, this, &InfoPopover::openPath);
    connect(m_failLog, &QAbstractButton::clicked, this, &InfoPopover::openFailLog);
}

void InfoPopover::popoverViewActions()
{
    Document* archive = document();
    if (!archive)
        return;
    // A path has no spaces to wrap at: every folder separator may end a line.
    const QString path = QDir::toNativeSeparators(archive->packagePath());
    m_path->setText(QString(path).replace(QLatin1Char('/'), QStringLiteral("/\u200B")));
    m_path->setToolTip(path);
    m_reveal->setEnabled(!archive->packagePath().isEmpty());

    IntegrityValidator* validator = validatorFor(archive);
    if (validator != m_validator) {
        if (m_validator)
            disconnect(m_validator, nullptr, this, nullptr);
        m_validator = validator;
        connect(validator, &IntegrityValidator::stateChanged, this, &InfoPopover::showState);
        connect(validator, &IntegrityValidator::finished, this, [this](bool intact) {
            m_lastRunFailed = !intact;
            showState();
        });
        // Reported by validators that check members in parallel; older ones only report the end.
        if (validator->metaObject()->indexOfSignal("progressChanged(qint64,qint64)") >= 0)
            connect(validator, SIGNAL(progressChanged(qint64, qint64)), this, SLOT(showProgress(qint64, qint64)));
    }
    m_lastRunFailed = false;
    m_progress->setVisible(false);
    validator->validateIntegrety(archive->clientData());
    showState();
}

void InfoPopover::showState()
{
    if (!m_validator)
        return;
    const bool validating = m_validator->isValidating()
        || m_validator->integrityString() == localizedString(QStringLiteral("INTEGRITY_STRING_VALIDATING"));
    m_state->setText(m_validator->integrityString());
    if (validating) {
        m_stateIcon->setCurrentWidget(m_spinner);
        m_spinner->startAnimation();
    } else {
        m_spinner->stopAnimation();
        const bool intact = m_validator->isDataInteger();
        const bool unknown = !intact && !m_lastRunFailed;
        const QIcon icon = Icons::icon(intact ? QStringLiteral("intact")
                                              : (unknown ? QStringLiteral("info") : QStringLiteral("damaged")));
        m_stateImage->setPixmap(icon.pixmap(QSize(stateIconSize, stateIconSize), devicePixelRatioF()));
        m_stateIcon->setCurrentWidget(m_stateImage);
        m_progress->setVisible(false);
    }
    m_failLog->setVisible(!validating && m_lastRunFailed
        && QFileInfo::exists(IntegrityValidator::integrityLogPath()));
    fitPopover();
}

void InfoPopover::fitPopover()
{
    // A longer state line, the bar or the log button need room the popover did not have when it opened.
    layout()->activate();
    if (auto* frame = qobject_cast<Popover*>(window()); frame && frame->isVisible())
        frame->adjustSize();
}

void InfoPopover::showProgress(qint64 checked, qint64 total)
{
    if (!m_validator || !m_validator->isValidating() || total <= 0 || checked >= total) {
        m_progress->setVisible(false);
        return;
    }
    m_progress->setRange(0, total);
    m_progress->setValue(checked);
    m_progress->setText(QStringLiteral("%1 / %2").arg(checked).arg(total));
    if (!m_progress->isVisible()) {
        m_progress->setVisible(true);
        fitPopover();
    }
}

void InfoPopover::openPath()
{
    if (document() && !document()->packagePath().isEmpty())
        ExternalOpen::revealFile(document()->packagePath());
}

void InfoPopover::openFailLog()
{
    ExternalOpen::openFile(IntegrityValidator::integrityLogPath());
}
