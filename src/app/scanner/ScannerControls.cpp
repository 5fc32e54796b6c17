#include "app/scanner/ScannerControls.h"

#include "app/i18n/Localizer.h"
#include "controls/KVTessaryProgress.h"
#include "text/KVLocalizationDictionary.h"

#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStackedWidget>

namespace {

template<typename T> T* named(T* widget, const char* name)
{
    widget->setObjectName(QLatin1String(name));
    return widget;
}

QString deviceText(const ScannerDevice& device)
{
    const QString model = QStringLiteral("%1 %2").arg(device.vendor, device.model).trimmed();
    return model.isEmpty() ? device.name : QStringLiteral("%1 (%2)").arg(model, device.name);
}

/// Fills a combo box with values the driver names, shown localized where the
/// table knows them, and selects the current one.
void fill(QComboBox* combo, const QStringList& values, const QString& current)
{
    combo->clear();
    for (const QString& value : values)
        combo->addItem(localizedString(value), value);
    combo->setCurrentIndex(std::max(0, combo->findData(current)));
    combo->setEnabled(combo->count() > 1);
}

} // namespace

ScannerControls::ScannerControls(QWidget* parent)
    : QWidget(parent)
{
    m_deviceCombo = named(new QComboBox, "deviceCombo");
    // Long device names are cut, not allowed to widen the column.
    m_deviceCombo->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_deviceCombo->setMinimumContentsLength(20);
    m_refreshButton = named(new QPushButton(QStringLiteral("SCANNER_REFRESH")), "refreshButton");
    auto* deviceRow = new QHBoxLayout;
    deviceRow->addWidget(m_deviceCombo, 1);
    deviceRow->addStretch(0); // keeps the button at its size while the list is hidden
    deviceRow->addWidget(m_refreshButton);

    m_sourceCombo = named(new QComboBox, "sourceCombo");
    m_modeCombo = named(new QComboBox, "modeCombo");
    m_resolutionCombo = named(new QComboBox, "resolutionCombo");
    m_nameEdit = named(new QLineEdit, "nameEdit");
    auto* settings = new QWidget;
    auto* form = new QFormLayout(settings);
    form->setContentsMargins(0, 0, 0, 0);
    const QList<QPair<const char*, QWidget*>> rows { { "SCANNER_SOURCE_LABEL", m_sourceCombo },
        { "SCANNER_MODE_LABEL", m_modeCombo }, { "SCANNER_RESOLUTION_LABEL", m_resolutionCombo },
        { "SCANNER_NAME_LABEL", m_nameEdit } };
    for (const auto& [key, widget] : rows) {
        form->addRow(QLatin1String(key), widget);
        // The entries are the device's values or the user's name, never keys.
        Localizer::markAsData(widget);
        Localizer::setAccessibleKeys(widget, QLatin1String(key));
    }
    Localizer::markAsData(m_deviceCombo);
    Localizer::setAccessibleKeys(m_deviceCombo, QStringLiteral("SCANNER_DEVICE_LABEL"));

    // No scanner: one clear sentence in place of the settings.
    m_emptyLabel = named(new QLabel(QStringLiteral("SCANNER_SEARCHING")), "emptyLabel");
    m_emptyLabel->setWordWrap(true);
    m_emptyLabel->setAlignment(Qt::AlignCenter);
    m_pages = new QStackedWidget;
    m_pages->addWidget(settings);
    m_pages->addWidget(m_emptyLabel);

    m_messageLabel = named(new QLabel, "messageLabel");
    m_messageLabel->setWordWrap(true);
    m_messageLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    Localizer::markAsData(m_messageLabel);
    m_progress = named(new KVTessaryProgress, "progress");

    m_overviewButton = named(new QPushButton(QStringLiteral("overviewControlLabel")), "overviewButton");
    m_scanButton = named(new QPushButton(QStringLiteral("scanControlLabel")), "scanButton");
    m_scanButton->setDefault(true);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_overviewButton);
    buttons->addStretch(1);
    buttons->addWidget(m_scanButton);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(deviceRow);
    layout->addWidget(m_pages);
    layout->addStretch(1);
    layout->addWidget(m_messageLabel);
    layout->addWidget(m_progress);
    layout->addLayout(buttons);
    showMessage(QString());
    // One width in every state, so the column does not jump when progress appears.
    setFixedWidth(400);

    connect(m_refreshButton, &QPushButton::clicked, this, &ScannerControls::refreshRequested);
    connect(m_overviewButton, &QPushButton::clicked, this, &ScannerControls::overviewRequested);
    connect(m_scanButton, &QPushButton::clicked, this, &ScannerControls::scanRequested);
    connect(m_progress, &KVTessaryProgress::cancelRequested, this, &ScannerControls::cancelRequested);
    connect(m_deviceCombo, &QComboBox::activated, this, &ScannerControls::deviceChosen);
    connect(m_nameEdit, &QLineEdit::textEdited, this, &ScannerControls::documentTitleEdited);
}

void ScannerControls::setDevices(const QList<ScannerDevice>& devices)
{
    const QString chosen = currentDevice();
    m_deviceCombo->clear();
    for (const ScannerDevice& device : devices)
        m_deviceCombo->addItem(deviceText(device), device.name);
    // The device chosen before stays chosen while it answers; otherwise the first one found.
    m_deviceCombo->setCurrentIndex(std::max(0, m_deviceCombo->findData(chosen)));
    m_deviceCount = int(devices.size());
}

QString ScannerControls::currentDevice() const
{
    return m_deviceCombo->currentData().toString();
}

void ScannerControls::setOptions(const ScannerOptions& options)
{
    fill(m_sourceCombo, options.sources, options.source);
    fill(m_modeCombo, options.modes, options.mode);
    m_resolutionCombo->clear();
    for (int dpi : options.resolutions)
        m_resolutionCombo->addItem(localizedString(QStringLiteral("SCANNER_DPI_FORMAT")).arg(dpi), dpi);
    // Documents want 300 dpi where the device offers it; otherwise the device's own choice.
    int index = m_resolutionCombo->findData(300);
    if (index < 0)
        index = m_resolutionCombo->findData(options.resolution);
    m_resolutionCombo->setCurrentIndex(std::max(0, index));
    m_resolutionCombo->setEnabled(m_resolutionCombo->count() > 1);
}

ScanSettings ScannerControls::settings() const
{
    return { m_sourceCombo->currentData().toString(), m_modeCombo->currentData().toString(),
        m_resolutionCombo->currentData().toInt(), false };
}

QString ScannerControls::documentTitle() const
{
    return m_nameEdit->text();
}

void ScannerControls::setDocumentTitle(const QString& title)
{
    m_nameEdit->setText(title);
}

void ScannerControls::focusDocumentTitle()
{
    m_nameEdit->selectAll();
    m_nameEdit->setFocus();
}

void ScannerControls::showMessage(const QString& text)
{
    m_messageLabel->setText(text);
    m_messageLabel->setVisible(!text.isEmpty());
}

QString ScannerControls::message() const
{
    return m_messageLabel->text();
}

void ScannerControls::showProgress(bool scan, int page, int percent)
{
    m_progress->setIndeterminate(percent < 0);
    m_progress->setRange(0, 100);
    m_progress->setValue(std::max(0, percent));
    if (scan && page > 0)
        m_progress->setText(localizedString(QStringLiteral("SCANNER_PAGE_PROGRESS")).arg(page));
    else if (!scan)
        m_progress->setText(QString());
}

void ScannerControls::setState(const State& state)
{
    m_pages->setCurrentIndex(m_deviceCount == 0 ? 1 : 0);
    Localizer::setKey(m_emptyLabel, state.listed ? QStringLiteral("SCANNER_NONE_FOUND") : QStringLiteral("SCANNER_SEARCHING"));
    m_deviceCombo->setVisible(m_deviceCount > 0);
    m_deviceCombo->setEnabled(!state.busy && m_deviceCount > 1);
    m_refreshButton->setEnabled(!state.scanning);
    m_overviewButton->setEnabled(state.ready);
    m_scanButton->setEnabled(state.ready);
    m_progress->setVisible(state.busy);
    m_progress->setCancelVisible(state.scanning);
}
