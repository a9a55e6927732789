// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/RS232Func.h"

#include "link/LinkState.h"
#include "platform/MsgBox.h"
#include "platform/Pacing.h"
#include "shared/ComPorts.h"
#include "shared/Picture.h"
#include "shared/SoftwareSetting.h"
#include "shared/StringRES.h"

#include <QCoreApplication>
#include <QSerialPort>
#include <QThread>
#include <QTimer>
#include <cmath>
#include <stdexcept>

QString RxText;
bool RxBusy = false;
bool RxBinaryMode = false;
bool RxStarted = false;
platform::FixedArray<unsigned char, 0, 65536> RxBuffer;
int RxWriteIndex = 0;
int RxTotalCount = 0;
double RxExpected = 0;
bool Rs232Sending = false;
QString CommEventMsg;
QString CommErrorMsg;

namespace {
StatusView g_statusView;
QTimer* g_timeOutTimer = nullptr;
int g_tickInterval = 100;

bool linkUp() {
    return Connected || Connecting;
}

// Waits while the reply is awaited and fewer than `limit` ticks have passed;
// a link marked down meanwhile ends the wait at once, with nothing.
bool waitForReply(int limit) {
    TickCount = 0;
    while (RxBusy && TickCount < limit && linkUp()) {
        platform::DoEvents();
        if (RxBusy) QThread::usleep(500); // let the line bring more without spinning
    }
    return TickCount < limit && linkUp();
}
} // namespace

CommControl::CommControl() : port_(new QSerialPort) {
    QObject::connect(port_, &QSerialPort::readyRead, [this] {
        CommEvent = 2;
        MSComm1_OnComm();
    });
    QObject::connect(port_, &QSerialPort::errorOccurred,
                     [this](QSerialPort::SerialPortError error) {
                         if (error == QSerialPort::NoError || error == QSerialPort::TimeoutError)
                             return;
                         if (error == QSerialPort::ResourceError) {
                             // The other end went away (an adapter pulled, a terminal
                             // closed): the link is lost now, not one command and two
                             // time-outs later, and the port says so once.
                             const QString text = port_->errorString();
                             QTimer::singleShot(0, port_, [this] { port_->close(); });
                             CommEvent = 7; // the end of the line's file
                             MSComm1_OnComm();
                             LinkLostOnSerial(text);
                             return;
                         }
                         CommEvent = 0; // a line error the serial library does not tell apart
                         MSComm1_OnComm();
                     });
}

CommControl::~CommControl() {
    delete port_;
}

bool CommControl::PortOpen() const {
    return port_->isOpen();
}

void CommControl::SetPortOpen(bool open) {
    if (!open) {
        if (port_->isOpen()) port_->close();
        return;
    }
    const QString device = ComPortDevice(CommPort);
    if (device.isEmpty()) throw std::runtime_error("no device for COM" + std::to_string(CommPort));
    const QStringList parts = Settings.split(',');
    port_->setPortName(device);
    port_->setBaudRate(static_cast<qint32>(Val(parts.value(0))));
    port_->setParity(QSerialPort::NoParity);
    port_->setDataBits(QSerialPort::Data8);
    port_->setStopBits(QSerialPort::OneStop);
    port_->setFlowControl(Handshaking == 0 ? QSerialPort::NoFlowControl
                                           : QSerialPort::HardwareControl);
    if (!port_->open(QIODevice::ReadWrite))
        throw std::runtime_error(port_->errorString().toStdString());
}

void CommControl::Output(const QByteArray& bytes) {
    if (!port_->isOpen()) throw std::runtime_error("Port not open");
    // Both the write and the flush must succeed: a line that is gone fails one of them.
    if (port_->write(bytes) != bytes.size())
        throw std::runtime_error(port_->errorString().toStdString());
    port_->flush();
    const QSerialPort::SerialPortError error = port_->error();
    if (error != QSerialPort::NoError && error != QSerialPort::TimeoutError)
        throw std::runtime_error(port_->errorString().toStdString());
}

QByteArray CommControl::Input() {
    return port_->readAll();
}

CommControl& MSComm1() {
    static CommControl* control = new CommControl; // lives as long as the program
    return *control;
}

void SetStatusView(StatusView view) {
    g_statusView = std::move(view);
}

void StartLinkTimers() {
    if (!g_timeOutTimer) {
        g_timeOutTimer = new QTimer(QCoreApplication::instance());
        g_timeOutTimer->setObjectName("TimeOutTimer");
        QObject::connect(g_timeOutTimer, &QTimer::timeout, [] { ++TickCount; });
    }
    g_timeOutTimer->start(g_tickInterval);
}

void SetTickInterval(int milliseconds) {
    g_tickInterval = milliseconds;
    if (g_timeOutTimer && g_timeOutTimer->isActive()) g_timeOutTimer->start(g_tickInterval);
}

namespace {
bool g_lossTold = false; // the user heard of the lost line; cleared when the port opens again
}

void LinkLostOnSerial(const QString& text) {
    if (g_lossTold || (!Connected && !Connecting)) return;
    g_lossTold = true;
    platform::MsgBox(text, platform::MsgButtons::Ok, platform::MsgIcon::None, MsgRs232Send);
    ResetLinkState();
}

void Rs232Open() {
    g_lossTold = false;
    CommControl& c = MSComm1();
    try {
        if (c.PortOpen()) c.SetPortOpen(false);
        c.Settings = SoftwareSetting.BaudRate.trimmed() + ",n,8,1";
        c.CommPort = SoftwareSetting.COM_Port;
        c.Handshaking = 0;
        c.SetPortOpen(true);
    } catch (const std::exception&) {
        platform::MsgBox(MsgBadPort, platform::MsgButtons::Ok, platform::MsgIcon::Exclamation,
                         MsgRs232Init);
        LinkOpen = false;
    }
}

void Rs232Write(const QString& command) {
    if (!Connected && !Connecting) return;
    RxText.clear();
    RxStarted = false;
    try {
        MSComm1().Output(command.toLatin1() + '\n');
    } catch (const std::exception& e) {
        if (!g_lossTold) {
            g_lossTold = true;
            platform::MsgBox(QString::fromStdString(e.what()), platform::MsgButtons::Ok,
                             platform::MsgIcon::None, MsgRs232Send);
        }
        if (Connected) ResetLinkState();
        return;
    }
    // The line needs its time to carry the command out.
    const double baud = Val(SoftwareSetting.BaudRate);
    const double perCharacter = std::max(3.0, baud > 0 ? 30000.0 / baud : 3.0);
    platform::Sleep(static_cast<int>(std::lround(perCharacter * (command.size() + 1))));
}

QString Rs232ReadText() {
    if (!Connected && !Connecting) return QString();
    if (!waitForReply(40)) return QString();
    return RxText;
}

bool Rs232WaitBinary() {
    RxBusy = true;
    RxBinaryMode = true;
    return waitForReply(100);
}

namespace {
void store(const QByteArray& bytes, int from) {
    for (int i = from; i < bytes.size(); ++i) {
        RxBuffer[RxWriteIndex++] = static_cast<unsigned char>(bytes[i]);
        RxText += QChar(static_cast<unsigned char>(bytes[i]));
    }
}
} // namespace

void Rs232RecvText(const QByteArray& chunk) {
    if (!RxStarted) {
        RxExpected = 0;
        RxTotalCount = 0;
        RxWriteIndex = 0;
    }
    store(chunk, 0);
    RxStarted = true;
    RxTotalCount += static_cast<int>(chunk.size());
    TickCount = 0; // a chunk restarts the time-out
    const qsizetype lineEnd = RxText.indexOf(QChar(10));
    if (lineEnd >= 0) {
        RxBusy = false;
        RxText.truncate(lineEnd);
        RxTotalCount -= 1;
    }
}

void Rs232RecvBinary(const QByteArray& chunk) {
    int from = 0;
    if (!RxStarted) {
        // The length prefix must arrive whole in the first chunk.
        RxExpected = 0;
        for (int i = 0; i < 4 && i < chunk.size(); ++i)
            RxExpected += static_cast<unsigned char>(chunk[i]) * std::pow(256.0, i);
        RxWriteIndex = 0;
        RxTotalCount = 0;
        from = 4;
    }
    store(chunk, std::min<int>(from, static_cast<int>(chunk.size())));
    RxStarted = true;
    RxTotalCount += static_cast<int>(chunk.size());
    TickCount = 0;
    if (RxTotalCount == RxExpected + 4) RxBusy = false; // an overshoot runs into the time-out
}

void MSComm1_OnComm() {
    CommControl& c = MSComm1();
    switch (c.CommEvent) {
    case 2: {
        const QByteArray chunk = c.Input();
        if (chunk.isEmpty()) break;
        platform::RunHandler("MSComm1_OnComm", [&chunk] {
            if (!RxBinaryMode)
                Rs232RecvText(chunk);
            else
                Rs232RecvBinary(chunk);
        });
        break;
    }
    case 1:
        break;
    case 3:
        CommEventMsg = "Change in CTS Detected";
        break;
    case 4:
        CommEventMsg = "Change in DSR Detected";
        break;
    case 5:
        CommEventMsg = "Change in CD Detected";
        break;
    case 6:
        CommEventMsg = "The Phone is Ringing";
        break;
    case 7:
        CommEventMsg = "End of File Detected";
        break;
    case 1001:
        CommErrorMsg = "Break Received";
        break;
    case 1002:
        CommErrorMsg = "CTS Timeout";
        break;
    case 1003:
        CommErrorMsg = "DSR Timeout";
        break;
    case 1004:
        CommErrorMsg = "Framing Error";
        break;
    case 1006:
        CommErrorMsg = "Overrun Error";
        break;
    case 1007:
        CommErrorMsg = "Carrier Detect Timeout";
        break;
    case 1008:
        CommErrorMsg = "Receive Buffer Overflow";
        break;
    case 1009:
        CommErrorMsg = "Parity Error";
        break;
    case 1010:
        CommErrorMsg = "Transmit Buffer Full";
        break;
    case 1011:
        CommErrorMsg = "Error retrieving DCB";
        break;
    default:
        CommErrorMsg = "Unknown error or event";
        break;
    }
    // Neither text is ever cleared: the first message stands for every later
    // event. The panel is written when what it shows changes, not for each of
    // a stream of events (a dead line raises them by the thousand).
    if (!g_statusView) return;
    static QString shown;
    const QString message = !CommEventMsg.isEmpty() ? CommEventMsg : CommErrorMsg;
    if (message.isEmpty() || message == shown) return;
    shown = message;
    g_statusView(message);
}
