#include "intake/SaneBackend.h"

#include "text/Logging.h"

#include <QMutex>
#include <QMutexLocker>
#include <algorithm>
#include <cmath>
#include <execinfo.h>
#include <sane/sane.h>
#include <sane/saneopts.h>

namespace {

/// The one lock around the library and the count of objects that started it.
QMutex& saneLock()
{
    static QMutex lock;
    return lock;
}
int g_users = 0;

QString text(SANE_String_Const string)
{
    return string ? QString::fromUtf8(string) : QString();
}

/// Index and descriptor of the named option, or -1 when the device has no
/// such option or it is inactive.
int findOption(SANE_Handle handle, const char* name, const SANE_Option_Descriptor** descriptor)
{
    SANE_Int count = 0;
    if (sane_control_option(handle, 0, SANE_ACTION_GET_VALUE, &count, nullptr) != SANE_STATUS_GOOD)
        return -1;
    for (SANE_Int i = 1; i < count; ++i) {
        const SANE_Option_Descriptor* option = sane_get_option_descriptor(handle, i);
        if (option && option->name && qstrcmp(option->name, name) == 0 && SANE_OPTION_IS_ACTIVE(option->cap)) {
            *descriptor = option;
            return i;
        }
    }
    return -1;
}

QStringList stringList(const SANE_Option_Descriptor* option)
{
    QStringList list;
    if (option->type == SANE_TYPE_STRING && option->constraint_type == SANE_CONSTRAINT_STRING_LIST) {
        for (const SANE_String_Const* item = option->constraint.string_list; item && *item; ++item)
            list.append(text(*item));
    }
    return list;
}

int toDpi(SANE_Word word, SANE_Value_Type type)
{
    return type == SANE_TYPE_FIXED ? int(std::lround(SANE_UNFIX(word))) : int(word);
}

SANE_Word fromDpi(int dpi, SANE_Value_Type type)
{
    return type == SANE_TYPE_FIXED ? SANE_FIX(double(dpi)) : SANE_Word(dpi);
}

QList<int> offeredResolutions(const SANE_Option_Descriptor* option)
{
    QList<int> list;
    if (option->constraint_type == SANE_CONSTRAINT_WORD_LIST) {
        const SANE_Word* words = option->constraint.word_list;
        for (SANE_Word i = 1; words && i <= words[0]; ++i)
            list.append(toDpi(words[i], option->type));
    } else if (option->constraint_type == SANE_CONSTRAINT_RANGE) {
        const SANE_Range* range = option->constraint.range;
        list = SaneBackend::resolutionsInRange(toDpi(range->min, option->type), toDpi(range->max, option->type),
            std::max(1, toDpi(range->quant, option->type)));
    }
    std::sort(list.begin(), list.end());
    list.erase(std::unique(list.begin(), list.end()), list.end());
    return list;
}

ScannerBackend::Status statusOf(SANE_Status status)
{
    switch (status) {
    case SANE_STATUS_GOOD:
        return ScannerBackend::Status::Ok;
    case SANE_STATUS_EOF:
        return ScannerBackend::Status::EndOfFrame;
    case SANE_STATUS_NO_DOCS:
        return ScannerBackend::Status::NoDocuments;
    case SANE_STATUS_CANCELLED:
        return ScannerBackend::Status::Cancelled;
    default:
        return ScannerBackend::Status::Failed;
    }
}

} // namespace

SaneBackend::SaneBackend()
{
    QMutexLocker locker(&saneLock());
    if (g_users == 0) {
        // Drivers read in threads of their own and cancel them asynchronously
        // when a scan ends. A thread that ends by unwinding loads the C
        // library's unwinder the first time, under the dynamic loader's lock;
        // cancelled in that moment, it would leave the lock held for good and
        // the next library load would hang. So the unwinder is loaded here,
        // before any such thread exists.
        void* frame = nullptr;
        backtrace(&frame, 1);
        SANE_Int version = 0;
        const SANE_Status status = sane_init(&version, nullptr);
        if (status != SANE_STATUS_GOOD) {
            m_startError
                = QStringLiteral("the scanner library could not be started: %1").arg(text(sane_strstatus(status)));
            qCWarning(lcQuillarc).noquote() << m_startError;
            return;
        }
    }
    ++g_users;
    m_started = true;
}

SaneBackend::~SaneBackend()
{
    closeDevice();
    QMutexLocker locker(&saneLock());
    if (m_started && --g_users == 0)
        sane_exit();
}

QList<int> SaneBackend::resolutionsInRange(int minimum, int maximum, int quant)
{
    static const int usual[] = { 50, 75, 100, 150, 200, 300, 400, 600, 1200, 2400, 4800 };
    QList<int> list;
    for (int dpi : usual) {
        if (dpi >= minimum && dpi <= maximum && (dpi - minimum) % std::max(1, quant) == 0)
            list.append(dpi);
    }
    if (list.isEmpty())
        list = minimum == maximum ? QList<int> { minimum } : QList<int> { minimum, maximum };
    return list;
}

bool SaneBackend::isStarted(QString* error) const
{
    if (!m_started && error)
        *error = m_startError;
    return m_started;
}

bool SaneBackend::isOpen(QString* error) const
{
    if (!m_handle && error)
        *error = QStringLiteral("no scanner is open");
    return m_handle != nullptr;
}

QString SaneBackend::deviceError(int status) const
{
    return QStringLiteral("%1: %2").arg(m_deviceName, text(sane_strstatus(SANE_Status(status))));
}

bool SaneBackend::listDevices(QList<ScannerDevice>* devices, QString* error)
{
    devices->clear();
    if (!isStarted(error))
        return false;
    QMutexLocker locker(&saneLock());
    const SANE_Device** list = nullptr;
    // Network scanners count too: a scanner on the desk may well be shared.
    const SANE_Status status = sane_get_devices(&list, SANE_FALSE);
    if (status != SANE_STATUS_GOOD) {
        *error = QStringLiteral("scanners could not be listed: %1").arg(text(sane_strstatus(status)));
        return false;
    }
    // The list belongs to the library and changes with its next call: copy it now.
    for (const SANE_Device** item = list; item && *item; ++item)
        devices->append({ text((*item)->name), text((*item)->vendor), text((*item)->model), text((*item)->type) });
    return true;
}

bool SaneBackend::openDevice(const QString& name, QString* error)
{
    closeDevice();
    if (!isStarted(error))
        return false;
    QMutexLocker locker(&saneLock());
    SANE_Handle handle = nullptr;
    const SANE_Status status = sane_open(name.toUtf8().constData(), &handle);
    if (status != SANE_STATUS_GOOD) {
        *error = QStringLiteral("%1: %2").arg(name, text(sane_strstatus(status)));
        return false;
    }
    m_handle = handle;
    m_deviceName = name;
    return true;
}

void SaneBackend::closeDevice()
{
    QMutexLocker locker(&saneLock());
    if (!m_handle)
        return;
    sane_cancel(m_handle);
    sane_close(m_handle);
    m_handle = nullptr;
    m_deviceName.clear();
}

bool SaneBackend::readOptions(ScannerOptions* options, QString* error)
{
    *options = ScannerOptions();
    if (!isOpen(error))
        return false;
    QMutexLocker locker(&saneLock());
    const SANE_Option_Descriptor* option = nullptr;
    for (const char* name : { SANE_NAME_SCAN_SOURCE, SANE_NAME_SCAN_MODE }) {
        const int index = findOption(m_handle, name, &option);
        if (index < 0 || option->type != SANE_TYPE_STRING)
            continue;
        QByteArray value(std::max<int>(option->size, 1), '\0');
        sane_control_option(m_handle, index, SANE_ACTION_GET_VALUE, value.data(), nullptr);
        const bool isSource = qstrcmp(name, SANE_NAME_SCAN_SOURCE) == 0;
        (isSource ? options->sources : options->modes) = stringList(option);
        (isSource ? options->source : options->mode) = text(value.constData());
    }
    const int index = findOption(m_handle, SANE_NAME_SCAN_RESOLUTION, &option);
    if (index >= 0 && (option->type == SANE_TYPE_INT || option->type == SANE_TYPE_FIXED)
        && option->size >= int(sizeof(SANE_Word))) {
        options->resolutions = offeredResolutions(option);
        SANE_Word value = 0;
        if (sane_control_option(m_handle, index, SANE_ACTION_GET_VALUE, &value, nullptr) == SANE_STATUS_GOOD)
            options->resolution = toDpi(value, option->type);
    }
    return true;
}

bool SaneBackend::applySettings(const ScanSettings& settings, QString* error)
{
    if (!isOpen(error))
        return false;
    QMutexLocker locker(&saneLock());
    const SANE_Option_Descriptor* option = nullptr;
    // The mode first: it can change which sources and resolutions are offered.
    const QList<QPair<const char*, QString>> strings { { SANE_NAME_SCAN_MODE, settings.mode },
        { SANE_NAME_SCAN_SOURCE, settings.source } };
    for (const auto& [name, value] : strings) {
        if (value.isEmpty())
            continue;
        const int index = findOption(m_handle, name, &option);
        if (index < 0 || option->type != SANE_TYPE_STRING || !stringList(option).contains(value)) {
            *error = QStringLiteral("%1 does not offer %2 \"%3\"").arg(m_deviceName, QString::fromLatin1(name), value);
            return false;
        }
        QByteArray bytes = value.toUtf8();
        bytes.resize(std::max<qsizetype>(option->size, bytes.size() + 1), '\0');
        const SANE_Status status = sane_control_option(m_handle, index, SANE_ACTION_SET_VALUE, bytes.data(), nullptr);
        if (status != SANE_STATUS_GOOD) {
            *error = deviceError(status);
            return false;
        }
    }
    if (settings.resolution > 0) {
        const int index = findOption(m_handle, SANE_NAME_SCAN_RESOLUTION, &option);
        if (index >= 0 && SANE_OPTION_IS_SETTABLE(option->cap)) {
            // The nearest resolution the device offers; the device may round it further.
            const QList<int> offered = offeredResolutions(option);
            int dpi = settings.resolution;
            if (option->constraint_type == SANE_CONSTRAINT_WORD_LIST && !offered.isEmpty())
                dpi = *std::min_element(offered.begin(), offered.end(),
                    [&](int a, int b) { return std::abs(a - dpi) < std::abs(b - dpi); });
            SANE_Word word = fromDpi(dpi, option->type);
            const SANE_Status status = sane_control_option(m_handle, index, SANE_ACTION_SET_VALUE, &word, nullptr);
            if (status != SANE_STATUS_GOOD) {
                *error = deviceError(status);
                return false;
            }
        }
    }
    const int preview = findOption(m_handle, SANE_NAME_PREVIEW, &option);
    if (preview >= 0 && option->type == SANE_TYPE_BOOL && SANE_OPTION_IS_SETTABLE(option->cap)) {
        SANE_Bool flag = settings.preview ? SANE_TRUE : SANE_FALSE;
        sane_control_option(m_handle, preview, SANE_ACTION_SET_VALUE, &flag, nullptr);
    }
    return true;
}

ScannerBackend::Status SaneBackend::startFrame(ScanFrame* frame, QString* error)
{
    if (!isOpen(error))
        return Status::Failed;
    QMutexLocker locker(&saneLock());
    // Options are read before the start: some drivers refuse them while scanning.
    double resolution = 0;
    const SANE_Option_Descriptor* option = nullptr;
    const int index = findOption(m_handle, SANE_NAME_SCAN_RESOLUTION, &option);
    SANE_Word value = 0;
    if (index >= 0 && sane_control_option(m_handle, index, SANE_ACTION_GET_VALUE, &value, nullptr) == SANE_STATUS_GOOD)
        resolution = option->type == SANE_TYPE_FIXED ? SANE_UNFIX(value) : double(value);
    SANE_Status status = sane_start(m_handle);
    if (status != SANE_STATUS_GOOD) {
        *error = deviceError(status);
        return statusOf(status);
    }
    SANE_Parameters parameters {};
    status = sane_get_parameters(m_handle, &parameters);
    if (status != SANE_STATUS_GOOD) {
        *error = deviceError(status);
        return Status::Failed;
    }
    static const QList<QPair<SANE_Frame, ScanFrame::Format>> formats { { SANE_FRAME_GRAY, ScanFrame::Format::Gray },
        { SANE_FRAME_RGB, ScanFrame::Format::Rgb }, { SANE_FRAME_RED, ScanFrame::Format::Red },
        { SANE_FRAME_GREEN, ScanFrame::Format::Green }, { SANE_FRAME_BLUE, ScanFrame::Format::Blue } };
    bool known = false;
    for (const auto& [saneFormat, format] : formats) {
        if (parameters.format == saneFormat) {
            frame->format = format;
            known = true;
        }
    }
    if (!known) {
        *error = QStringLiteral("%1: unknown frame format %2").arg(m_deviceName).arg(int(parameters.format));
        return Status::Failed;
    }
    frame->depth = parameters.depth;
    frame->pixelsPerLine = parameters.pixels_per_line;
    frame->bytesPerLine = parameters.bytes_per_line;
    frame->lines = parameters.lines;
    frame->lastFrame = parameters.last_frame;
    frame->resolution = resolution;
    return Status::Ok;
}

ScannerBackend::Status SaneBackend::readData(unsigned char* buffer, int maxLength, int* length, QString* error)
{
    *length = 0;
    if (!isOpen(error))
        return Status::Failed;
    QMutexLocker locker(&saneLock());
    SANE_Int read = 0;
    const SANE_Status status = sane_read(m_handle, buffer, maxLength, &read);
    *length = status == SANE_STATUS_GOOD ? int(read) : 0;
    if (status != SANE_STATUS_GOOD && status != SANE_STATUS_EOF)
        *error = deviceError(status);
    return statusOf(status);
}

void SaneBackend::cancel()
{
    QMutexLocker locker(&saneLock());
    if (m_handle)
        sane_cancel(m_handle);
}
