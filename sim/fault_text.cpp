// The words in which a fault is told: FAULT [at PLACE] [once | from then on].
#include <array>
#include <charconv>
#include <optional>

#include "sim/fault_plan.h"

namespace zerix::sim {
namespace {

// Places that make sense for a fault.
enum Places : uint32_t {
    kNowhere = 1u << 0, // may stand without a place, and then always holds
    kAtFrame = 1u << 1,
    kAtPacket = 1u << 2,
    kAtRead = 1u << 3,
    kAtWrite = 1u << 4,
    kAtRequest = 1u << 5,
    kAtBuffer = 1u << 6,
};
constexpr uint32_t kPacketPlaces = kNowhere | kAtFrame | kAtPacket;

struct Phrase {
    std::string_view words;
    FaultKind kind;
    bool hasError;
    uint32_t places;
};

constexpr std::array<Phrase, 19> kPhrases = {{
    {"lose packet", FaultKind::kLosePacket, false, kPacketPlaces},
    {"cut packet", FaultKind::kCutPacket, false, kPacketPlaces},
    {"corrupt packet", FaultKind::kCorruptPacket, false, kPacketPlaces},
    {"double packet", FaultKind::kDoublePacket, false, kPacketPlaces},
    {"reorder packet", FaultKind::kReorderPacket, false, kPacketPlaces},
    {"bad marker", FaultKind::kBadMarker, false, kPacketPlaces},
    {"bad trailer", FaultKind::kBadTrailer, false, kPacketPlaces},
    {"wrong tag", FaultKind::kWrongTag, false, kNowhere | kAtFrame},
    {"read error", FaultKind::kReadError, true, kNowhere | kAtRead},
    {"write error", FaultKind::kWriteError, true, kNowhere | kAtWrite},
    {"hang", FaultKind::kHang, false, kAtRead | kAtWrite},
    {"no bandwidth", FaultKind::kNoBandwidth, false, kNowhere | kAtRequest},
    {"no channel", FaultKind::kNoChannel, false, kNowhere | kAtRequest},
    {"no resources", FaultKind::kNoResources, false, kNowhere | kAtRequest},
    {"no fast speed", FaultKind::kNoFastSpeed, false, kNowhere | kAtRequest},
    {"fail requeue", FaultKind::kFailRequeue, false, kNowhere | kAtBuffer},
    {"in use", FaultKind::kInUse, false, kNowhere},
    // The longer words first.
    {"unplug with driver", FaultKind::kUnplugWithDriver, false,
     kAtFrame | kAtPacket | kAtRead | kAtWrite},
    {"unplug", FaultKind::kUnplug, false, kAtFrame | kAtPacket | kAtRead | kAtWrite},
}};

struct PlaceWord {
    std::string_view word;
    uint32_t place;
    Operation operation;
};

constexpr PlaceWord kPlaceWords[] = {
    {"frame", kAtFrame, Operation::kFrame},       {"packet", kAtPacket, Operation::kPacket},
    {"read", kAtRead, Operation::kRead},          {"write", kAtWrite, Operation::kWrite},
    {"request", kAtRequest, Operation::kRequest}, {"buffer", kAtBuffer, Operation::kBuffer},
};

// Words separated by blanks.
class Reader {
public:
    explicit Reader(std::string_view text) : m_rest(text) { SkipBlanks(); }

    // Takes the words if they come next, as whole words.
    bool Take(std::string_view words)
    {
        if (!m_rest.starts_with(words))
            return false;
        if (m_rest.size() > words.size() && m_rest[words.size()] != ' ')
            return false;
        m_rest.remove_prefix(words.size());
        SkipBlanks();
        return true;
    }

    std::optional<uint32_t> TakeNumber()
    {
        const std::string_view word = m_rest.substr(0, m_rest.find(' '));
        uint32_t number = 0;
        const auto [end, failed] = std::from_chars(word.data(), word.data() + word.size(), number);
        if (failed != std::errc() || end != word.data() + word.size())
            return std::nullopt;
        m_rest.remove_prefix(word.size());
        SkipBlanks();
        return number;
    }

    [[nodiscard]] bool AtEnd() const { return m_rest.empty(); }
    [[nodiscard]] std::string Rest() const { return std::string(m_rest); }

private:
    void SkipBlanks()
    {
        while (!m_rest.empty() && (m_rest.front() == ' ' || m_rest.front() == '\t'))
            m_rest.remove_prefix(1);
        while (!m_rest.empty() && (m_rest.back() == ' ' || m_rest.back() == '\t'))
            m_rest.remove_suffix(1);
    }
    std::string_view m_rest;
};

std::string KnownPhrases()
{
    std::string all;
    for (const Phrase &phrase : kPhrases) {
        all += all.empty() ? "\"" : ", \"";
        all += phrase.words;
        all += phrase.hasError ? " NUMBER\"" : "\"";
    }
    return all;
}

std::string KnownPlaces(const Phrase &phrase)
{
    std::string all;
    for (const PlaceWord &known : kPlaceWords) {
        if ((phrase.places & known.place) == 0)
            continue;
        all += all.empty() ? "\"at " : ", \"at ";
        all += known.word;
        all += " NUMBER\"";
        if (known.place == kAtFrame && (phrase.places & kAtPacket) != 0)
            all += ", \"at frame NUMBER packet NUMBER\"";
    }
    return all.empty() ? "nothing" : all;
}

class Parser {
public:
    Parser(std::string_view text, Fault *fault, std::string *error)
        : m_text(text), m_reader(text), m_fault(*fault), m_error(error)
    {
    }

    bool Parse()
    {
        m_fault = {};
        const Phrase *phrase = TakePhrase();
        if (phrase == nullptr)
            return Expected("one of " + KnownPhrases());
        m_fault.kind = phrase->kind;
        if (phrase->hasError && !TakeNumber(&m_fault.systemError))
            return Expected("the number of a system error after \"" + std::string(phrase->words) +
                            "\"");
        if (m_reader.Take("at")) {
            if (!TakePlace(*phrase))
                return Expected(KnownPlaces(*phrase) + ", with numbers from 1, after \"" +
                                std::string(phrase->words) + "\"");
        } else if ((phrase->places & kNowhere) == 0) {
            return Expected(KnownPlaces(*phrase) + " after \"" + std::string(phrase->words) + "\"");
        }
        TakeDuration();
        return m_reader.AtEnd() || Expected("the end, \"once\" or \"from then on\"");
    }

private:
    const Phrase *TakePhrase()
    {
        for (const Phrase &phrase : kPhrases)
            if (m_reader.Take(phrase.words))
                return &phrase;
        return nullptr;
    }

    bool TakeNumber(uint32_t *number)
    {
        const auto taken = m_reader.TakeNumber();
        if (taken)
            *number = *taken;
        return taken && *taken > 0;
    }

    bool TakePlace(const Phrase &phrase)
    {
        for (const PlaceWord &known : kPlaceWords) {
            if ((phrase.places & known.place) == 0 || !m_reader.Take(known.word))
                continue;
            if (known.place == kAtFrame)
                return TakeFrame(phrase);
            m_fault.place = FaultPlace::kOperation;
            m_fault.operation = known.operation;
            return TakeNumber(&m_fault.number);
        }
        return false;
    }

    bool TakeFrame(const Phrase &phrase)
    {
        m_fault.place = FaultPlace::kFrame;
        m_fault.operation = Operation::kFrame;
        if (!TakeNumber(&m_fault.frame))
            return false;
        const bool hasPacket = (phrase.places & kAtPacket) != 0 && m_reader.Take("packet");
        return !hasPacket || TakeNumber(&m_fault.packet);
    }

    // A fault without a place holds anyway.
    void TakeDuration()
    {
        if (m_reader.Take("from then on"))
            m_fault.fromThenOn = true;
        else if (m_fault.place != FaultPlace::kAlways)
            m_reader.Take("once");
    }

    bool Expected(const std::string &what)
    {
        if (m_error != nullptr)
            *m_error =
                "\"" + m_text + "\" is no fault: expected " + what +
                (m_reader.AtEnd() ? std::string(".") : ", found \"" + m_reader.Rest() + "\".");
        return false;
    }

    std::string m_text;
    Reader m_reader;
    Fault &m_fault;
    std::string *m_error;
};

} // namespace

bool ParseFault(std::string_view text, Fault *fault, std::string *error)
{
    return Parser(text, fault, error).Parse();
}

} // namespace zerix::sim
