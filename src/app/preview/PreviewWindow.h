#pragma once

#include "model/ModelPointers.h"

#include <QPointer>
#include <QWidget>
#include <memory>

class DocumentListModel;
class DocumentsTableView;
class PdfPageView;
class QLabel;
class QPlainTextEdit;
class QScrollArea;
class QStackedWidget;
class QToolButton;

/// The preview of the selected record, in a window of its own beside the
/// archive window: every page of a PDF, an image fitted to the window, a
/// text file or the record's extracted text as text, and for other files
/// their preview image. It follows the documents list while it is open; the
/// arrow keys move the list's selection, Space and Escape close it.
///
/// The archived bytes are copied out (the record's preview copy) off the
/// main thread; a record whose member is missing or damaged shows why.
class PreviewWindow : public QWidget
{
    Q_OBJECT

public:
    enum class Shown
    {
        Nothing,
        Pdf,
        Image,
        Text,
        PreviewImage,
        Message
    };

    explicit PreviewWindow(QWidget* parent = nullptr);
    ~PreviewWindow() override;

    /// Shows @p document (nothing for nullptr).
    void showDocument(const DocumentPtr& document);
    DocumentPtr document() const { return m_document; }
    /// The list whose selection the arrow keys move and the preview follows
    /// while it is open.
    void attachTo(DocumentsTableView* list, DocumentListModel* documents);

    Shown shown() const { return m_shown; }
    PdfPageView* pdfView() const { return m_pdf; }
    QString messageText() const;
    /// True once the last requested record is on screen (a PDF: its pages are known).
    bool isReady() const { return m_ready; }

Q_SIGNALS:
    void visibilityChanged(bool visible);
    /// The last requested record is on screen.
    void ready();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    struct Content;
    void present(const Content& content);
    void showMessage(const QString& key);
    void fitImage();
    void setReady();

    DocumentPtr m_document;
    QPointer<DocumentsTableView> m_target;
    QPointer<DocumentListModel> m_documents;
    QStackedWidget* m_stack;
    PdfPageView* m_pdf;
    QScrollArea* m_imageArea;
    QLabel* m_image;
    QPlainTextEdit* m_text;
    QLabel* m_message;
    QLabel* m_banner;
    QLabel* m_title;
    QToolButton* m_zoomIn;
    QToolButton* m_zoomOut;
    QToolButton* m_fit;
    QImage m_original;
    Shown m_shown = Shown::Nothing;
    quint64 m_request = 0;
    bool m_ready = false;
};
