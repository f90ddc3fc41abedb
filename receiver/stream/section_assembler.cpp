#include "receiver/stream/section_assembler.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <dvbpsi/dvbpsi.h>
#include <dvbpsi/psi.h>
#include <new>
#include <utility>

#include "foundation/byte_reader.h"
#include "receiver/stream/packet_framer.h"

namespace receiver {

namespace {

constexpr size_t sectionHeaderSize = 3;  // up to section_length
constexpr size_t tableHeaderSize = 8;    // up to last_section_number
constexpr size_t crcSize = 4;
constexpr int largestSection = 4096;         // private sections, ISO/IEC 13818-1, 2.4.4.11
constexpr uint16_t shortestCheckedBody = 9;  // the rest of the header and the CRC_32
constexpr unsigned char payloadUnitStartFlag = 0x40;

void messageFromLibrary(dvbpsi_t* handle, const dvbpsi_msg_level_t, const char* text)
{
    static_cast<SectionAssembler*>(handle->p_sys)->noteMessage(text);
}

// Every section of the PID comes here, whatever its table: no decoder of the library stands
// between, because those deliver a table only once and know no DSM-CC.
void sectionFromLibrary(dvbpsi_t* handle, dvbpsi_psi_section_t* section)
{
    static_cast<SectionAssembler*>(handle->p_sys)
        ->noteSection(*section, section->b_syntax_indicator && dvbpsi_has_CRC32(section));
    dvbpsi_DeletePSISections(section);
}

}  // namespace

SectionHeader readSectionHeader(const SectionBytes& section)
{
    VestaHbbTV::ByteReader reader(section.data(), section.size());
    SectionHeader header;
    header.tableId = reader.u8();
    reader.skip(2);
    header.tableIdExtension = reader.u16();
    const uint8_t versionAndCurrent = reader.u8();
    header.version = (versionAndCurrent >> 1) & 0x1F;
    header.current = (versionAndCurrent & 1) != 0;
    header.sectionNumber = reader.u8();
    header.lastSectionNumber = reader.u8();
    return reader.ok() ? header : SectionHeader();
}

VestaHbbTV::ByteReader sectionBody(const SectionBytes& section)
{
    if (section.size() < tableHeaderSize + crcSize)
        return VestaHbbTV::ByteReader();
    return VestaHbbTV::ByteReader(section.data() + tableHeaderSize,
                                  section.size() - tableHeaderSize - crcSize);
}

void SectionAssembler::HandleDeleter::operator()(dvbpsi_s* handle) const
{
    if (handle->p_decoder)
        dvbpsi_decoder_delete(handle->p_decoder);
    handle->p_decoder = nullptr;
    dvbpsi_delete(handle);
}

SectionAssembler::SectionAssembler() : handle_(dvbpsi_new(messageFromLibrary, DVBPSI_MSG_ERROR))
{
    if (!handle_)
        throw std::bad_alloc();
    handle_->p_sys = this;
    handle_->p_decoder = static_cast<dvbpsi_decoder_t*>(
        dvbpsi_decoder_new(sectionFromLibrary, largestSection, true, sizeof(dvbpsi_decoder_t)));
    if (!handle_->p_decoder)
        throw std::bad_alloc();
}

SectionAssembler::~SectionAssembler() = default;

bool SectionAssembler::push(const unsigned char* packet, size_t payloadOffset)
{
    // The library trusts the adaptation field's length and the pointer_field.
    if (payloadOffset >= PacketFramer::packetSize)
        return false;
    const bool unitStart = (packet[1] & payloadUnitStartFlag) != 0;
    if (unitStart && payloadOffset + 1 + packet[payloadOffset] >= PacketFramer::packetSize)
        return false;

    if (unitStart)
        dropIfCutShort(packet, payloadOffset);

    // The library asks for writable bytes.
    std::array<unsigned char, PacketFramer::packetSize> copy{};
    std::memcpy(copy.data(), packet, copy.size());
    dvbpsi_packet_push(handle_.get(), copy.data());
    return true;
}

// The library would fill up a section that is too short with the bytes of the one after it.
void SectionAssembler::dropIfCutShort(const unsigned char* packet, size_t payloadOffset)
{
    dvbpsi_decoder_t& decoder = *handle_->p_decoder;
    const bool follows = (packet[3] & 0x0F) == ((decoder.i_continuity_counter + 1) & 0x0F);
    const int bytesUntilNext = packet[payloadOffset];  // pointer_field
    // Of a header that is not whole it is not known how much is missing after it.
    if (!decoder.p_current_section || !follows || bytesUntilNext >= decoder.i_need)
        return;
    leaveOut(LeftOutSection::Reason::CutShort, decoder.p_current_section);
    dvbpsi_DeletePSISections(decoder.p_current_section);
    decoder.p_current_section = nullptr;
}

void SectionAssembler::leaveOut(LeftOutSection::Reason reason, const dvbpsi_psi_section_s* section)
{
    LeftOutSection leftOut{reason, {}};
    if (section && section->p_data) {
        const auto come = static_cast<size_t>(section->p_payload_end - section->p_data);
        leftOut.header.assign(section->p_data, section->p_data + std::min(come, tableHeaderSize));
    }
    leftOut_.push_back(std::move(leftOut));
}

std::vector<SectionBytes> SectionAssembler::takeSections()
{
    return std::exchange(sections_, {});
}

std::vector<LeftOutSection> SectionAssembler::takeLeftOut()
{
    return std::exchange(leftOut_, {});
}

void SectionAssembler::noteMessage(const char* text)
{
    const dvbpsi_decoder_t* const decoder = handle_ ? handle_->p_decoder : nullptr;
    const dvbpsi_psi_section_t* const section = decoder ? decoder->p_current_section : nullptr;
    if (std::strstr(text, "CRC"))
        leaveOut(LeftOutSection::Reason::WrongCrc, section);
    else if (std::strstr(text, "too long"))
        leaveOut(LeftOutSection::Reason::TooLong, section);
}

void SectionAssembler::noteSection(const dvbpsi_psi_section_s& section, bool hasCrc)
{
    if (!hasCrc || section.i_length < shortestCheckedBody) {
        leaveOut(LeftOutSection::Reason::Unchecked, &section);
        return;
    }
    sections_.emplace_back(section.p_data, section.p_data + sectionHeaderSize + section.i_length);
}

}  // namespace receiver
