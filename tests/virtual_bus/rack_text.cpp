// The text of a rack file with the cameras that a test describes.
#include "tests/virtual_bus/rack_text.h"

#include <ostream>
#include <sstream>

namespace zerix::test {
std::string Quoted(const std::string &text)
{
    std::string quoted = "\"";
    for (const char letter : text)
        quoted +=
            (letter == '"' || letter == '\\') ? std::string("\\") + letter : std::string(1, letter);
    return quoted + "\"";
}

namespace {

std::string Version(const sim::BlockVersion &version)
{
    return Quoted(std::to_string(version.major) + "." + std::to_string(version.minor));
}

} // namespace

void WriteCamera(std::ostream &file, const sim::CameraDescription &camera)
{
    std::ostringstream id;
    id << "0x" << std::hex << camera.uniqueId;
    file << "[[camera]]\n"
         << "model = " << camera.model << "\nserial = " << Quoted(camera.serial)
         << "\nunique-id = " << Quoted(id.str()) << "\nsensor = " << camera.ccdModel
         << "\nconfiguration = " << Version(camera.configuration)
         << "\ninformation = " << Version(camera.information)
         << "\ncontrol = " << Version(camera.control)
         << "\nstreaming = " << Version(camera.streaming)
         << "\ncommand = " << Version(camera.command) << "\nstatus = " << Version(camera.status)
         << "\nhardware = " << camera.hardwareVersion << "\nfirmware = " << camera.firmwareVersion
         << "\nbuild = " << camera.firmwareBuild << "\nstream-format = " << camera.streamingVersion
         << "\nbit-depth = " << camera.bitDepth << std::boolalpha << "\ncooler = " << camera.cooler
         << "\nregulated-cooling = " << camera.regulatedCooling
         << "\nalternate-model-address = " << camera.registersFromAlternateAddress
         << "\nscene = " << Quoted(camera.scene) << "\nreads = " << Quoted(camera.reads)
         << "\nin-use = " << camera.inUse << "\nfaults = [";
    for (const sim::FaultText &fault : camera.faults)
        file << Quoted(fault.text) << ", ";
    file << "]\n";
}

} // namespace zerix::test
