#include "cli/CliCommand.h"
#include "intake/SaneBackend.h"

namespace {

int runScanners(const QStringList& arguments)
{
    const char* command = "scanners";
    if (cliWantsHelp(command, arguments))
        return ExitOk;
    if (!arguments.isEmpty())
        return cliFail(command, QStringLiteral("unexpected argument '%1'").arg(arguments.first()));
    SaneBackend backend;
    QList<ScannerDevice> devices;
    QString error;
    if (!backend.listDevices(&devices, &error))
        return cliFail(command, error);
    if (devices.isEmpty()) {
        cliErr(QStringLiteral("quillarc-cli scanners: no scanner answers\n"));
        return ExitRefused;
    }
    QString text;
    for (const ScannerDevice& device : std::as_const(devices))
        text += QStringLiteral("%1\t%2\t%3\t%4\n").arg(device.name, device.vendor, device.model, device.type);
    cliOut(text);
    return ExitOk;
}

CliCommandRegistration registration({ "scanners", "scanners",
    "List the scanners that answer now: device name, vendor, model and type, separated by tabs.", runScanners });

} // namespace
