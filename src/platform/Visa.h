// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The VISA operations the link uses, with the types and status values of the
// VISA interface on a 64-bit system (32-bit sessions and counts, a 64-bit
// attribute value). Behind them, merged by the search:
//  - USB instruments through the Linux usbtmc driver (/dev/usbtmcN),
//  - serial ports as ASRL resources (the COM ports given a device in Options),
//  - the simulated instrument's USB face (a Unix socket, see
//    docs/instrument-protocol.md),
//  - a vendor VISA shared library, when one is installed, loaded at run time.
#include <QString>
#include <QStringList>
#include <cstdint>
#include <functional>
#include <memory>

using ViStatus = std::int32_t;
using ViUInt32 = std::uint32_t;
using ViSession = ViUInt32;
using ViObject = ViUInt32;
using ViFindList = ViUInt32;
using ViAttr = ViUInt32;
using ViAttrState = std::uint64_t;
using ViByte = unsigned char;

constexpr ViStatus VI_SUCCESS = 0;
constexpr ViStatus VI_SUCCESS_MAX_CNT = 0x3FFF0006; // 1073676294: the request was filled exactly
constexpr ViStatus VI_ERROR_INV_OBJECT = static_cast<ViStatus>(0xBFFF000Eu);
constexpr ViStatus VI_ERROR_RSRC_NFOUND = static_cast<ViStatus>(0xBFFF0011u);
constexpr ViStatus VI_ERROR_INV_RSRC_NAME = static_cast<ViStatus>(0xBFFF0012u);
constexpr ViStatus VI_ERROR_TMO = static_cast<ViStatus>(0xBFFF0015u);
constexpr ViStatus VI_ERROR_NSUP_ATTR = static_cast<ViStatus>(0xBFFF001Du);
constexpr ViStatus VI_ERROR_IO = static_cast<ViStatus>(0xBFFF003Eu);
constexpr ViStatus VI_ERROR_CONN_LOST = static_cast<ViStatus>(0xBFFF00A6u);
constexpr ViAttr VI_ATTR_TMO_VALUE = 0x3FFF001Au;
constexpr ViAttr VI_ATTR_ASRL_BAUD = 0x3FFF0021u;
constexpr int VI_FIND_BUFLEN = 256;

ViStatus viOpenDefaultRM(ViSession* resourceManager);
ViStatus viFindRsrc(ViSession resourceManager, const char* expression, ViFindList* list,
                    ViUInt32* count, char name[VI_FIND_BUFLEN]);
ViStatus viFindNext(ViFindList list, char name[VI_FIND_BUFLEN]);
ViStatus viOpen(ViSession resourceManager, const char* name, ViUInt32 accessMode,
                ViUInt32 openTimeout, ViSession* session);
ViStatus viClose(ViObject object);
ViStatus viSetAttribute(ViObject object, ViAttr attribute, ViAttrState value);
ViStatus viRead(ViSession session, ViByte* buffer, ViUInt32 count, ViUInt32* returned);
ViStatus viWrite(ViSession session, const ViByte* buffer, ViUInt32 count, ViUInt32* returned);
ViStatus viClear(ViSession session);

namespace platform {

// One open instrument, whatever carries it.
class VisaDevice {
public:
    virtual ~VisaDevice() = default;
    virtual ViStatus write(const ViByte* data, ViUInt32 count, ViUInt32* written) = 0;
    // At most count bytes: VI_SUCCESS when the message ended first,
    // VI_SUCCESS_MAX_CNT when count bytes were read.
    virtual ViStatus read(ViByte* data, ViUInt32 count, ViUInt32* got) = 0;
    virtual ViStatus clear() = 0;
    virtual ViStatus setTimeout(ViUInt32 milliseconds) = 0;
    virtual ViStatus setBaudRate(ViUInt32) { return VI_ERROR_NSUP_ATTR; }
};

// A source of resources: lists names and opens them.
class VisaBackend {
public:
    virtual ~VisaBackend() = default;
    virtual QStringList find() = 0;
    virtual std::unique_ptr<VisaDevice> open(const QString& name, ViStatus* status) = 0;
};

// Another way to reach instruments, searched before the built-in ones (a
// fuzz target's scripted device, say); kept to the program's end.
void AddVisaBackend(std::unique_ptr<VisaBackend> backend);

// Where the simulated instrument's USB face is looked for (its default:
// $XDG_RUNTIME_DIR/nq4000l-sim or /tmp/nq4000l-sim-<uid>).
void SetSimulatedUsbDirectory(const QString& directory);
QString SimulatedUsbDirectory();
// A vendor VISA library to load (empty: look for the usual names).
void SetVendorVisaLibrary(const QString& path);
// Where the usbtmc device nodes and their sysfs entries are looked for.
void SetUsbtmcRoots(const QString& devRoot, const QString& sysRoot);
// A serial device opened as a usbtmc node would be (for tests of the read loop).
std::unique_ptr<VisaDevice> OpenUsbtmcNode(const QString& path, ViStatus* status);

// The serial ports offered as ASRL resources: COM number and device path.
void SetAsrlPortProvider(std::function<QList<QPair<int, QString>>()> provider);

// Does the resource name match the search expression ("USB?*INSTR", "(USB0|ASRL)?*INSTR")?
bool VisaExpressionMatches(const QString& expression, const QString& name);

} // namespace platform
