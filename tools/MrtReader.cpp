/*
 * The framing of MRT: a header of 12 bytes, time, type, subtype and length, and a body of that
 * length. The length is a claim. It buys no memory: the body grows by pieces as they are read, up
 * to a bound that no honest record needs. What the body holds is decoded into counts and events of
 * its own, which take effect once all of it has proved sound.
 */

#include <tools/MrtReader.h>

#include <tools/MrtMessage.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace LpmTools {

namespace {

constexpr std::size_t pieceSize = 65536;
constexpr std::size_t headerSize = 12;

}  // namespace

MrtReader::MrtReader(std::unique_ptr<ByteSource> source, std::string name, MrtPeers& peers,
                     bool strict)
    : source_(std::move(source)),
      name_(std::move(name)),
      peers_(peers),
      strict_(strict),
      block_(pieceSize) {}

bool MrtReader::next(MrtEvent& event) {
    while (nextEvent_ == events_.size()) {
        if (isDone_) {
            return false;
        }
        isDone_ = true;  // until all has gone well
        events_.clear();
        nextEvent_ = 0;
        U64 const offset = offset_;
        try {
            isDone_ = !readRecord();
        } catch (MrtFault const& fault) {
            events_.clear();
            throw MrtError(name_, counts_.records + 1, offset, fault.what());
        } catch (...) {
            events_.clear();
            throw;
        }
    }
    event = events_[nextEvent_++];
    return true;
}

/** False at the end of the file. */
bool MrtReader::readRecord() {
    std::array<U8, headerSize> header{};
    if (!readHeader(header)) {
        return false;
    }
    MrtCursor fields(header, "record's header");
    U32 const seconds = fields.u32("time");
    MrtKind kind;
    kind.type = fields.u16("type");
    kind.subtype = fields.u16("subtype");
    readBody(fields.u32("length"));
    decode(kind, seconds);
    return true;
}

bool MrtReader::readHeader(std::span<U8> header) {
    std::size_t const count = take(header);
    if (count != 0 && count != header.size()) {
        throw MrtFault("the file ends within the record's header");
    }
    return count != 0;
}

void MrtReader::readBody(U32 length) {
    if (length > longestRecord) {
        throw MrtFault("it claims " + std::to_string(length) + " bytes, more than the " +
                       std::to_string(longestRecord) + " a record may have");
    }
    body_.clear();
    while (body_.size() < length) {
        std::size_t const before = body_.size();
        std::size_t const wanted = std::min(pieceSize, length - before);
        body_.resize(before + wanted);
        std::size_t const count = take(std::span(body_).subspan(before));
        if (count < wanted) {
            throw MrtFault("the file ends after " + std::to_string(before + count) + " of its " +
                           std::to_string(length) + " bytes");
        }
    }
}

void MrtReader::decode(MrtKind kind, U32 seconds) {
    MrtCounts counts = counts_;
    MrtCursor body(body_, "record");
    MrtRecord record{peers_, counts, events_, strict_, seconds};
    bool isKnown = false;
    switch (kind.type) {
    case MrtType::tableDump:
    case MrtType::tableDumpV2:
        isKnown = readMrtDump(record, kind, body, peerIndex_);
        break;
    case MrtType::bgp4mpEt:
        record.microseconds = body.u32("count of microseconds");
        [[fallthrough]];
    case MrtType::bgp4mp:
        isKnown = readMrtMessage(record, kind.subtype, body);
        break;
    default:
        break;
    }
    if (!isKnown) {
        countUnknown(kind);
        ++counts.unknownRecords;
    } else if (record.hasMore || !body.atEnd()) {
        ++counts.recordsWithMore;
    }
    ++counts.records;
    counts_ = counts;
}

void MrtReader::countUnknown(MrtKind kind) {
    auto const known = unknownKinds_.find(kind);
    if (known != unknownKinds_.end()) {
        ++known->second;
    } else if (unknownKinds_.size() < mostUnknownKinds) {
        unknownKinds_.emplace(kind, 1);
    }
}

/** Fills `bytes` from its front; fewer only at the end of the file. */
std::size_t MrtReader::take(std::span<U8> bytes) {
    std::size_t taken = 0;
    while (taken < bytes.size()) {
        if (blockAt_ == blockSize_) {
            blockSize_ = source_->read(block_);
            blockAt_ = 0;
            if (blockSize_ == 0) {
                break;
            }
        }
        std::size_t const count = std::min(bytes.size() - taken, blockSize_ - blockAt_);
        std::memcpy(&bytes[taken], &block_[blockAt_], count);
        blockAt_ += count;
        taken += count;
    }
    offset_ += taken;
    return taken;
}

}  // namespace LpmTools
