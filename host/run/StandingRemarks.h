// StandingRemarks: what is to be said in every fix for some time, of the streams rather than of one epoch.
#pragma once

#include <map>
#include <string>
#include <utility>

#include "gnss/health/Notes.h"
#include "gnss/time/GPSTime.h"
#include "host/fix/FixNotes.h"

namespace Host {

class StandingRemarks {
public:
    // How long a remark stands, s: over the 6 s between two subframes and epochs that are not much further apart, and
    // no longer, so that its end tells when its cause has ended.
    static constexpr double Stands = 20.0;

    void Add(const GNSS::GPSTime& now, FixNote note, int param, std::string text) {
        standing_.insert_or_assign({static_cast<int>(note), param}, Remark{now, std::move(text)});
    }
    void Clear() { standing_.clear(); }
    // Of an epoch. Each is given at least once, however far apart the epochs are.
    [[nodiscard]] GNSS::Notes Take(const GNSS::GPSTime& epoch) {
        GNSS::Notes notes;
        for (auto next = standing_.begin(); next != standing_.end();) {
            auto& [key, remark] = *next;
            const bool isOver = (epoch - remark.since).Seconds() > Stands;
            if (!isOver || !remark.wasTold) notes.AddNote(key.first, key.second, Corvane::String(remark.text));
            remark.wasTold = true;
            next = isOver ? standing_.erase(next) : std::next(next);
        }
        return notes;
    }

private:
    struct Remark {
        GNSS::GPSTime since;
        std::string text;
        bool wasTold = false;
    };
    std::map<std::pair<int, int>, Remark> standing_;
};

}  // namespace Host
