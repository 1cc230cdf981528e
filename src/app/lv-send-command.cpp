// Sends a command to running Lumivane Managers over the command channel: a keyed archive of
// { "LVManagerCommand": <number> }, base64-encoded, as the distributed notification
// "com.quarnet.lumivane_manager.message".
//   lv-send-command 7               the command 7
//   lv-send-command --no-command    a dictionary without the key
//   lv-send-command --raw TEXT      TEXT as the message, unchanged (for trying bad input)
#include "foundation/VMKeyedArchive.h"
#include "platform/Platform.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTextStream>

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Sends a command to Lumivane Manager."));
    parser.addHelpOption();
    const QCommandLineOption noCommand(QStringLiteral("no-command"),
                                       QStringLiteral("Send a dictionary without a command."));
    const QCommandLineOption raw(QStringLiteral("raw"), QStringLiteral("Send this text as the message."),
                                 QStringLiteral("text"));
    parser.addOption(noCommand);
    parser.addOption(raw);
    parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("The command number."));
    parser.process(application);

    QString message;
    if (parser.isSet(raw)) {
        message = parser.value(raw);
    } else {
        QVariantMap dictionary;
        if (!parser.isSet(noCommand)) {
            bool ok = false;
            const qint64 command = parser.positionalArguments().value(0).toLongLong(&ok);
            if (!ok)
                parser.showHelp(2);
            dictionary.insert(QStringLiteral("LVManagerCommand"), command);
        }
        message = QString::fromLatin1(VMKeyedArchive::archivedDataWithRootObject(dictionary).toBase64());
    }
    if (!Platform::distributedNotifications().post(QStringLiteral("com.quarnet.lumivane_manager.message"), message)) {
        QTextStream(stderr) << "lv-send-command: the message could not be sent\n";
        return 1;
    }
    return 0;
}
