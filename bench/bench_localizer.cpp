// The translation editor on a large table: reading, writing and reloading the
// table, and the filter per keystroke (first with the folded search texts still
// to build, then with them cached), next to the shipped table for scale.
#include "BenchSupport.h"
#include "app/translation/KVLocalizerFilterModel.h"
#include "app/translation/KVLocalizerModel.h"
#include "text/KVLocalizationDictionary.h"
#include "text/KVLocalizationTable.h"

#include <QGuiApplication>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <cstdio>

namespace {

const char* const words[] = { "Archiv", "archive", "Gruppe", "group", "Beleg", "voucher", "Prüfung", "validation",
    "Datei", "file", "Fehler", "error", "Übernahme", "intake", "Suche", "search", "Straße", "street", "Größe", "size",
    "öffnen", "open", "schließen", "close", "Rechnung", "invoice", "Vertrag", "contract", "Quittung", "receipt" };
const char* const languages[] = { "de", "en", "nl", "fr", "es", "it", "da", "sv", "pt", "fi", "nb", "pl" };

QByteArray bigTable(int keys)
{
    QRandomGenerator random(7);
    KVLocalizationTable table;
    QByteArray xml = "<plist version=\"1.0\"><dict><key>baseItems</key><array>";
    for (int key = 0; key < keys; ++key) {
        xml += "<dict><key>base</key><string>KEY_" + QByteArray::number(key) + "</string>";
        for (const char* language : languages) {
            QByteArray text;
            for (int n = 0, count = random.bounded(2, 14); n < count; ++n)
                text += QByteArray(words[random.bounded(int(std::size(words)))]) + ' ';
            xml += "<key>" + QByteArray(language) + "</key><string>" + text.trimmed() + "</string>";
        }
        xml += "</dict>";
    }
    return xml + "</array></dict></plist>";
}

template<typename Work> QList<double> repeat(int times, Work&& work)
{
    QList<double> runs;
    for (int i = 0; i < times; ++i)
        runs.append(bench::measure(work).wallMs);
    return runs;
}

void report(const char* what, const QList<double>& runs)
{
    std::printf("  %-44s median %8.2f ms   worst %8.2f ms   (%lld runs)\n", what, bench::median(runs),
        bench::worst(runs), static_cast<long long>(runs.size()));
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    QTemporaryDir folder;
    const QString shipped = QString::fromLatin1(KVLocalizationDictionary::defaultTablePath);
    const QString bigPath = folder.path() + QStringLiteral("/big.glossordoc");
    {
        QFile file(bigPath);
        if (!file.open(QIODevice::WriteOnly) || file.write(bigTable(3000)) < 0)
            return 1;
    }

    for (const QString& path : { shipped, bigPath }) {
        KVLocalizationTable table;
        table.read(path);
        std::printf("%s: %d keys x %lld languages, %.1f MiB\n", path == shipped ? "shipped table" : "large table",
            table.count(), static_cast<long long>(table.languages().size()), QFileInfo(path).size() / 1048576.0);
        report("read into the editor's table", repeat(9, [&] { table.read(path); }));
        const QString out = folder.path() + QStringLiteral("/out.glossordoc");
        report("write atomically (with fsync)", repeat(9, [&] { table.write(out); }));
        KVLocalizationDictionary dictionary(out, QStringLiteral("de"));
        report("dictionary reload (test live)", repeat(9, [&] { dictionary.reloadLocalizationDictionary(); }));

        KVLocalizerModel model;
        KVLocalizerFilterModel filter;
        filter.setSourceModel(&model);
        const QStringList typed = { QStringLiteral("u"), QStringLiteral("ub"), QStringLiteral("ube"),
            QStringLiteral("uber"), QStringLiteral("ubern"), QStringLiteral("") };
        QList<double> cold;
        QList<double> warm;
        for (int round = 0; round < 5; ++round) {
            model.setTable(table); // drops the cached search texts
            // The proxy filters when asked for its rows, as the view does after each keystroke.
            filter.rowCount();
            cold.append(bench::measure([&] {
                filter.setFilterText(typed.first());
                filter.rowCount();
            }).wallMs);
            for (const QString& text : typed.mid(1)) {
                warm.append(bench::measure([&] {
                    filter.setFilterText(text);
                    filter.rowCount();
                }).wallMs);
            }
        }
        report("filter, first keystroke (folds every row)", cold);
        report("filter, later keystrokes (cached)", warm);
        std::printf("  ratio first/later keystroke: %.1f\n", bench::median(cold) / std::max(bench::median(warm), 1e-3));
    }
    std::printf("peak memory %.0f MiB\n", bench::peakRssMiB());
    return 0;
}
