#pragma once
// The instrument's command words and the two operations everything above the
// transport uses: CmdSend (fire and forget) and CmdQuery (send, read a line).
// A command is one line; the transport adds the line feed.
#include <QString>

// ---- words -----------------------------------------------------------------
namespace cmd {
inline const QString KeyLock = QStringLiteral(":KEY:LOCK");
inline const QString Enable = QStringLiteral("ENABLE");
inline const QString Disable = QStringLiteral("DISABLE");
inline const QString PointsModeNormal = QStringLiteral(":WAVeform:POINts:MODE NORmal");
inline const QString Idn = QStringLiteral("*IDN?");
inline const QString Rs232Baud = QStringLiteral(":RS232:BAUD");
inline const QString MathDisplay = QStringLiteral(":MATH:DISPLAY");
} // namespace cmd

// Composition: a set is header, one blank, value; a query is header and "?";
// a query with an argument puts it behind the "?" with one blank.
QString SetCommand(const QString& header, const QString& value);
QString QueryCommand(const QString& header);
QString QueryCommand(const QString& header, const QString& argument);

// ---- the transport behind CmdSend and CmdQuery ------------------------------
class LinkTransport {
public:
    virtual ~LinkTransport() = default;
    virtual void Send(const QString& command) = 0;     // with the transport's pacing
    virtual QString Query(const QString& command) = 0; // empty text on failure
};
// The open transport, or none (then both operations do nothing).
void SetLinkTransport(LinkTransport* transport);
LinkTransport* CurrentLinkTransport();

// Both do nothing unless Connected or Connecting, so callers need no guard.
void CmdSend(const QString& text);
QString CmdQuery(const QString& text);

// The reply up to, not including, its first line feed; the whole text if none.
QString CutAtLineFeed(const QString& reply);
