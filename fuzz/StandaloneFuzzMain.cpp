// Runs a fuzz target once over every file of the folders (or files) given, in
// name order, without libFuzzer: the seed corpora become ordinary tests that
// any compiler builds. A crash or abort fails the run; the last name printed
// is the input that caused it.
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdint>
#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
// Only some targets set up an application first.
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace {
QStringList inputsOf(const QString& path)
{
    const QFileInfo info(path);
    if (!info.isDir())
        return { path };
    QStringList inputs;
    const QDir folder(path);
    for (const QString& name : folder.entryList(QDir::Files, QDir::Name))
        inputs.append(folder.filePath(name));
    return inputs;
}
} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s FOLDER|FILE...\n", argv[0]);
        return 2;
    }
    if (LLVMFuzzerInitialize)
        LLVMFuzzerInitialize(&argc, &argv);
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        for (const QString& input : inputsOf(QString::fromLocal8Bit(argv[i]))) {
            QFile file(input);
            if (!file.open(QIODevice::ReadOnly)) {
                std::fprintf(stderr, "cannot read %s: %s\n", qPrintable(input), qPrintable(file.errorString()));
                return 2;
            }
            const QByteArray bytes = file.readAll();
            std::printf("%s\n", qPrintable(input));
            std::fflush(stdout);
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.constData()), size_t(bytes.size()));
            ++count;
        }
    }
    if (count == 0) {
        std::fprintf(stderr, "no inputs found\n");
        return 2;
    }
    std::printf("%d inputs run\n", count);
    return 0;
}
