#include "app/preview/PreviewWindow.h"

#include "app/i18n/Localizer.h"
#include "app/models/DocumentListModel.h"
#include "app/preview/PdfPageView.h"
#include "app/util/Task.h"
#include "app/views/DocumentsTableView.h"
#include "intake/ImageLoader.h"
#include "intake/TextDecoding.h"
#include "model/QuillarcDocument.h"
#include "store/ArchivedFile.h"
#include "text/KVLocalizationDictionary.h"

#include <QApplication>
#include <QFile>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMimeDatabase>
#include <QPlainTextEdit>
#include <QScrollArea>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>

namespace {
/// Text files larger than this show their beginning only.
constexpr qint64 maximumTextBytes = 4 << 20;
} // namespace

/// What the worker prepared for one record.
struct PreviewWindow::Content
{
    Shown kind = Shown::Nothing;
    QString path;
    QImage image;
    QString text;
    QString messageKey;
    bool corrupted = false;
};

PreviewWindow::PreviewWindow(QWidget* parent)
    : QWidget(parent, Qt::Tool)
    , m_stack(new QStackedWidget(this))
    , m_pdf(new PdfPageView(m_stack))
    , m_imageArea(new QScrollArea(m_stack))
    , m_image(new QLabel)
    , m_text(new QPlainTextEdit(m_stack))
    , m_message(new QLabel(m_stack))
    , m_banner(new QLabel(QStringLiteral("File appears to be corrupted."), this))
    , m_title(new QLabel(this))
    , m_zoomIn(new QToolButton(this))
    , m_zoomOut(new QToolButton(this))
    , m_fit(new QToolButton(this))
{
    setObjectName(QStringLiteral("previewWindow"));
    setWindowTitle(QStringLiteral("PREVIEW_WINDOW"));
    resize(720, 860);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    auto* bar = new QHBoxLayout;
    bar->setContentsMargins(8, 4, 8, 4);
    Localizer::markAsData(m_title);
    bar->addWidget(m_title, 1);
    m_zoomOut->setText(QStringLiteral("−"));
    m_zoomIn->setText(QStringLiteral("+"));
    m_fit->setText(QStringLiteral("PREVIEW_FIT_WIDTH"));
    Localizer::setAccessibleKeys(m_zoomOut, QStringLiteral("PREVIEW_ZOOM_OUT"));
    Localizer::setAccessibleKeys(m_zoomIn, QStringLiteral("PREVIEW_ZOOM_IN"));
    for (QToolButton* button : { m_zoomOut, m_zoomIn, m_fit }) {
        button->setFocusPolicy(Qt::NoFocus);
        bar->addWidget(button);
    }
    layout->addLayout(bar);
    m_banner->setAlignment(Qt::AlignCenter);
    m_banner->setAutoFillBackground(true);
    m_banner->setStyleSheet(QStringLiteral("background: #c62828; color: white; padding: 4px;"));
    m_banner->hide();
    layout->addWidget(m_banner);
    m_imageArea->setWidget(m_image);
    m_imageArea->setAlignment(Qt::AlignCenter);
    m_image->setAlignment(Qt::AlignCenter);
    m_text->setReadOnly(true);
    m_message->setAlignment(Qt::AlignCenter);
    m_message->setWordWrap(true);
    for (QWidget* page : { static_cast<QWidget*>(m_message), static_cast<QWidget*>(m_pdf),
             static_cast<QWidget*>(m_imageArea), static_cast<QWidget*>(m_text) }) {
        page->setFocusPolicy(Qt::NoFocus);
        m_stack->addWidget(page);
    }
    layout->addWidget(m_stack, 1);
    connect(m_zoomIn, &QToolButton::clicked, m_pdf, &PdfPageView::zoomIn);
    connect(m_zoomOut, &QToolButton::clicked, m_pdf, &PdfPageView::zoomOut);
    connect(m_fit, &QToolButton::clicked, m_pdf, &PdfPageView::fitWidth);
    connect(m_pdf, &PdfPageView::loaded, this, [this](int pages) {
        if (pages == 0)
            showMessage(QStringLiteral("PREVIEW_CANNOT_SHOW"));
        setReady();
    });
    Localizer::localize(this);
}

PreviewWindow::~PreviewWindow() = default;

void PreviewWindow::attachTo(DocumentsTableView* list, DocumentListModel* documents)
{
    m_target = list;
    m_documents = documents;
    connect(list->selectionModel(), &QItemSelectionModel::currentRowChanged, this, [this](const QModelIndex& current) {
        if (isVisible() && m_documents)
            showDocument(m_documents->documentAt(current.row()));
    });
}

QString PreviewWindow::messageText() const
{
    return m_message->text();
}

void PreviewWindow::showDocument(const DocumentPtr& document)
{
    m_document = document;
    m_ready = false;
    const quint64 request = ++m_request;
    m_title->setText(document ? document->title() : QString());
    if (!document) {
        showMessage(QStringLiteral("NO_DOCUMENT_SELECTED"));
        setReady();
        return;
    }
    // Decoding the member and writing the copy read the whole file: off the main thread.
    Task::run(
        this,
        [document] {
            Content content;
            const QByteArray bytes = ArchivedFile::fileData(*document);
            content.corrupted = ArchivedFile::isFileCorrupted(*document);
            if (bytes.isEmpty() && content.corrupted) {
                content.kind = Shown::Message;
                content.messageKey = QStringLiteral("PREVIEW_FILE_DAMAGED");
                return content;
            }
            content.path = ArchivedFile::previewItemURL(*document);
            const QMimeType mime = QMimeDatabase().mimeTypeForFile(content.path);
            if (mime.inherits(QStringLiteral("application/pdf"))) {
                content.kind = Shown::Pdf;
            } else if (mime.name().startsWith(QLatin1String("image/")) || ImageLoader::isHeif(content.path)) {
                content.image = ImageLoader::load(content.path);
                content.kind = content.image.isNull() ? Shown::Message : Shown::Image;
                content.messageKey = QStringLiteral("PREVIEW_CANNOT_SHOW");
            } else if (mime.inherits(QStringLiteral("text/plain"))) {
                QString error;
                if (TextDecoding::decodeDetected(bytes.left(maximumTextBytes), &content.text, &error))
                    content.kind = Shown::Text;
            }
            if (content.kind == Shown::Nothing && !document->contentString().isEmpty()) {
                content.kind = Shown::Text;
                content.text = document->contentString();
            }
            if (content.kind == Shown::Nothing) {
                content.image = QImage(ArchivedFile::imageURL(*document));
                content.kind = content.image.isNull() ? Shown::Message : Shown::PreviewImage;
                content.messageKey = QStringLiteral("PREVIEW_CANNOT_SHOW");
            }
            return content;
        },
        [this, request](const Content& content) {
            // A later selection has asked in the meantime: this one is not wanted.
            if (request == m_request)
                present(content);
        });
}

void PreviewWindow::present(const Content& content)
{
    m_banner->setVisible(content.corrupted && content.kind != Shown::Message);
    const bool pdf = content.kind == Shown::Pdf;
    for (QToolButton* button : { m_zoomIn, m_zoomOut, m_fit })
        button->setVisible(pdf);
    m_shown = content.kind;
    switch (content.kind) {
    case Shown::Pdf:
        m_stack->setCurrentWidget(m_pdf);
        m_pdf->open(content.path);
        return; // ready once the pages are known
    case Shown::Image:
    case Shown::PreviewImage:
        m_original = content.image;
        m_stack->setCurrentWidget(m_imageArea);
        fitImage();
        break;
    case Shown::Text:
        m_text->setPlainText(content.text);
        m_stack->setCurrentWidget(m_text);
        break;
    default:
        showMessage(content.messageKey.isEmpty() ? QStringLiteral("PREVIEW_CANNOT_SHOW") : content.messageKey);
        break;
    }
    setReady();
}

void PreviewWindow::showMessage(const QString& key)
{
    m_shown = key == QLatin1String("NO_DOCUMENT_SELECTED") ? Shown::Nothing : Shown::Message;
    Localizer::setKey(m_message, key);
    m_stack->setCurrentWidget(m_message);
}

void PreviewWindow::setReady()
{
    m_ready = true;
    Q_EMIT ready();
}

void PreviewWindow::fitImage()
{
    if (m_original.isNull())
        return;
    // Fitted into the window, never enlarged past its own pixels, at the screen's ratio.
    const qreal ratio = devicePixelRatioF();
    const QSize area = m_imageArea->viewport()->size() * ratio;
    const QSize target = m_original.size().scaled(area, Qt::KeepAspectRatio).boundedTo(m_original.size());
    QPixmap pixmap = QPixmap::fromImage(m_original.scaled(target, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    pixmap.setDevicePixelRatio(ratio);
    m_image->setPixmap(pixmap);
    m_image->resize(pixmap.deviceIndependentSize().toSize());
}

void PreviewWindow::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
    case Qt::Key_Home:
    case Qt::Key_End:
        // The arrow keys move the list; the preview follows its selection.
        if (m_target) {
            QKeyEvent copy(event->type(), event->key(), event->modifiers(), event->text());
            QApplication::sendEvent(m_target, &copy);
            return;
        }
        break;
    case Qt::Key_Space:
    case Qt::Key_Escape:
        close();
        return;
    case Qt::Key_Plus:
        m_pdf->zoomIn();
        return;
    case Qt::Key_Minus:
        m_pdf->zoomOut();
        return;
    default:
        break;
    }
    QWidget::keyPressEvent(event);
}

void PreviewWindow::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    Q_EMIT visibilityChanged(true);
}

void PreviewWindow::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    Q_EMIT visibilityChanged(false);
}

void PreviewWindow::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    if (m_shown == Shown::Image || m_shown == Shown::PreviewImage)
        fitImage();
}
