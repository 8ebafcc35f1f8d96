#pragma once

#include <tools/ByteSource.h>
#include <tools/MrtDump.h>
#include <tools/MrtNames.h>
#include <tools/MrtRecord.h>

#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace LpmTools {

/** A record that is not what it says. "routes.mrt: record 3 at byte 120: <what is wrong>". */
class MrtError : public InputError {
public:
    MrtError(std::string const& name, U64 record, U64 offset, std::string const& fault)
        : InputError(name + ": record " + std::to_string(record) + " at byte " +
                     std::to_string(offset) + ": " + fault),
          record_(record),
          offset_(offset) {}

    /** 1 is the first one of the file. */
    U64 record() const noexcept { return record_; }
    /** Of its first byte in the unpacked stream; 0 is the first one. */
    U64 offset() const noexcept { return offset_; }

private:
    U64 record_;
    U64 offset_;
};

/**
 * Reads what collectors of BGP routes write (MRT, RFC 6396 and 8050): tables and updates, as one
 * stream of events.
 *
 *     MrtPeers peers;  // one for all files that belong together
 *     MrtReader reader(openInput(path), inputName(path), peers);
 *     for (MrtEvent event; reader.next(event);) { ... }
 *
 * A record is delivered whole or not at all: the first one that lies about its lengths, and the end
 * of the file within one, end the reading; what was delivered and counted before stays good. (Of a
 * damaged gzip file it need not be: only the file's end holds the check sum that tells.)
 *
 * Unicast routes of IPv4 and IPv6 are read; other records and families are counted and skipped.
 * Bytes left over behind all that a record should hold are no error, but counted.
 *
 * Memory stays bounded whatever the file claims: it holds one record, read in pieces as it comes,
 * and its events, of which there are never more than 65,535.
 */
class MrtReader {
public:
    /** A record of more bytes is refused: 65,535 paths of 255 bytes each, the most in one, fit. */
    static constexpr U32 longestRecord = U32{16} << 20;
    /** So many different kinds of unknown records are counted one by one. */
    static constexpr std::size_t mostUnknownKinds = 1024;

    /**
     * `strict` refuses a prefix with host bits, which are cleared and counted otherwise, and a list
     * of routes that ends within one, which is counted and read up to there otherwise.
     */
    MrtReader(std::unique_ptr<ByteSource> source, std::string name, MrtPeers& peers,
              bool strict = false);

    /**
     * False at the end, and always after an error. Throws MrtError, and InputError where the source
     * cannot be read or unpacked.
     */
    bool next(MrtEvent& event);

    MrtCounts const& counts() const noexcept { return counts_; }
    /** Records that are not read, by kind; `mrtName` tells what each is. */
    std::map<MrtKind, U64> const& unknownKinds() const noexcept { return unknownKinds_; }

private:
    bool readRecord();
    bool readHeader(std::span<U8> header);
    void readBody(U32 length);
    void decode(MrtKind kind, U32 seconds);
    void countUnknown(MrtKind kind);
    std::size_t take(std::span<U8> bytes);

    std::unique_ptr<ByteSource> source_;
    std::string const name_;
    MrtPeers& peers_;
    bool const strict_;
    bool isDone_ = false;
    std::vector<char> block_;
    std::size_t blockAt_ = 0;
    std::size_t blockSize_ = 0;
    U64 offset_ = 0;  // in the unpacked stream, of what comes next
    std::vector<U8> body_;
    std::vector<MrtEvent> events_;  // of the last record
    std::size_t nextEvent_ = 0;
    MrtPeerIndex peerIndex_;
    MrtCounts counts_;
    std::map<MrtKind, U64> unknownKinds_;
};

}  // namespace LpmTools
