// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The serial side of the link: the port, the event-driven receive of text
// replies and length-prefixed blocks, and the waits that poll for them while
// the event loop runs.
#include "platform/Faults.h"

#include <QByteArray>
#include <QString>
#include <functional>

class QSerialPort;

extern QString RxText;
extern bool RxBusy;
extern bool RxBinaryMode;
extern bool RxStarted;
extern platform::FixedArray<unsigned char, 0, 65536> RxBuffer;
extern int RxWriteIndex;
extern int RxTotalCount;
extern double RxExpected;
extern bool Rs232Sending;
extern QString CommEventMsg;
extern QString CommErrorMsg;

// The serial control: a port with a serial control's properties, raising OnComm for
// every arrival and every line event.
class CommControl {
public:
    CommControl();
    ~CommControl();
    int CommPort = 1;
    QString Settings = "9600,n,8,1";
    int Handshaking = 0;
    bool PortOpen() const;
    void SetPortOpen(bool open);          // throws the error's text as std::runtime_error
    void Output(const QByteArray& bytes); // the same
    QByteArray Input();
    int CommEvent = 0;

private:
    QSerialPort* port_;
};
CommControl& MSComm1();

void Rs232Open();
void Rs232Write(const QString& command);
QString Rs232ReadText(); // waits up to 4 s; empty on time-out
bool Rs232WaitBinary();  // a data fetch's wait, up to 10 s; false on time-out
void Rs232RecvText(const QByteArray& chunk);
void Rs232RecvBinary(const QByteArray& chunk);
void MSComm1_OnComm(); // the serial event handler
// The port's other end went away: the message with the error's own text and
// the link marked down, once.
void LinkLostOnSerial(const QString& text);

// The link's clocks: TimeOutTimer adds one to TickCount ten times a second.
void StartLinkTimers();
void SetTickInterval(int milliseconds); // tests shorten the serial time-outs
// The status bar panel "Status": the frame registers how to show a text.
using StatusView = std::function<void(const QString& message)>;
void SetStatusView(StatusView view);
