#include "sim/SimServer.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <cstdio>

// qormin-sim --scenario FILE [--port N] [--transcript FILE]: serves until killed.
int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("qormin-sim"));
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Simulated SQL Server answering from a scenario file."));
    parser.addHelpOption();
    parser.addOption(
        {QStringLiteral("scenario"), QStringLiteral("Scenario JSON file."), QStringLiteral("file")});
    parser.addOption({QStringLiteral("port"), QStringLiteral("TCP port (0 or none: a free one)."),
                      QStringLiteral("n"), QStringLiteral("0")});
    parser.addOption({QStringLiteral("transcript"), QStringLiteral("Write the transcript (JSON lines) here."),
                      QStringLiteral("file")});
    parser.process(application);
    if (!parser.isSet(QStringLiteral("scenario"))) {
        std::fprintf(stderr, "qormin-sim: --scenario FILE is required\n");
        return 2;
    }
    QString error;
    auto scenario = qormin::sim::Scenario::fromFile(parser.value(QStringLiteral("scenario")), &error);
    if (!scenario) {
        std::fprintf(stderr, "qormin-sim: %s\n", qPrintable(error));
        return 2;
    }
    bool portOk = false;
    const uint port = parser.value(QStringLiteral("port")).toUInt(&portOk);
    if (!portOk || port > 65535) {
        std::fprintf(stderr, "qormin-sim: bad port %s\n", qPrintable(parser.value(QStringLiteral("port"))));
        return 2;
    }
    qormin::sim::SimServer server(std::move(*scenario));
    server.setKeepTranscriptInMemory(false);
    server.setTranscriptFile(parser.value(QStringLiteral("transcript")));
    if (!server.start(static_cast<quint16>(port), &error)) {
        std::fprintf(stderr, "qormin-sim: %s\n", qPrintable(error));
        return 1;
    }
    std::printf("listening on 127.0.0.1:%u\n", static_cast<unsigned>(server.port()));
    std::fflush(stdout);
    return application.exec();
}
