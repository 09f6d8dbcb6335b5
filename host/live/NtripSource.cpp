#include "host/live/NtripSource.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "host/live/NtripRequest.h"

namespace Host {

namespace {

constexpr std::size_t MaxNear = 5;

// A text without a password that somebody repeats in it.
std::string Without(std::string text, const std::string& password) {
    constexpr std::string_view Mask = "***";
    for (std::size_t at = 0; !password.empty() && (at = text.find(password, at)) != std::string::npos;
         at += Mask.size())
        text.replace(at, password.size(), Mask);
    return text;
}

}  // namespace

NtripSource::NtripSource(SourceAddress address, const LiveSettings& settings, LiveSink& sink, Secret password,
                         Position position, NameLookup::Function lookUp)
    : TcpSource(std::move(address), settings, sink, std::move(lookUp)),
      password_(std::move(password)),
      position_(std::move(position)) {}

NtripSource::~NtripSource() = default;

void NtripSource::Close() {
    TcpSource::Close();
    reply_.reset();
    table_.reset();
    isBegun_ = false;
    hasSent_ = false;
    isLacking_ = false;
}

void NtripSource::OnConnection() {
    reply_.emplace();
    SetLimit(Now() + GetSettings().answerTimeout);
    Send(MakeNtripRequest(GetAddress(), password_, GetPosition()).Reveal());
}

void NtripSource::OnReceived(std::string_view bytes) {
    // It is moved out, for the sink may stop this source.
    NtripReply reply = std::exchange(reply_, std::nullopt).value_or(NtripReply());
    reply.Feed(bytes, [&](std::string_view content) { TakeContent(reply.GetKind(), content); });
    if (GetState() != State::Connecting && GetState() != State::Connected) return;
    reply_ = std::move(reply);
    CheckReply();
}

void NtripSource::TakeContent(NtripReply::Kind kind, std::string_view content) {
    if (kind == NtripReply::Kind::SourceTable) {
        if (!table_) table_.emplace();
        table_->Feed(content);
        return;
    }
    if (GetState() == State::Connecting) BeginStream();
    if (GetState() == State::Connected) Deliver(content);
}

void NtripSource::BeginStream() {
    isBegun_ = true;
    SetLimit(std::nullopt);
    Begin("connected to " + GetPeer());
}

void NtripSource::CheckReply() {
    using Kind = NtripReply::Kind;
    const std::string says =
        fmt::format("the caster says \"{}\"{}{}", Without(reply_->GetStatus(), password_.Reveal()),
                    reply_->GetReason().empty() ? "" : ": ", Without(reply_->GetReason(), password_.Reveal()));
    switch (reply_->GetKind()) {
        case Kind::Incomplete:
            return;
        case Kind::Stream:
            if (!isBegun_) BeginStream();
            if (GetState() != State::Connected) return;
            if (reply_->IsDamaged()) {
                Drop("the caster's transfer coding is damaged");
            } else if (reply_->IsEnded()) {
                Drop("the caster has ended the stream");
            } else if (!hasSent_ && !isLacking_) {
                SendPosition();
            }
            return;
        case Kind::SourceTable:
            if (reply_->IsDamaged() || reply_->IsEnded() || (table_ && table_->IsEnded())) DropByTable();
            return;
        case Kind::Denied:
            Drop(says + (GetAddress().user.empty() ? "; the address names no user" : "; user or password are wrong"),
                 true);
            return;
        case Kind::Redirect:
            Drop(says + "; redirections are not followed", true);
            return;
        case Kind::NotFound:
        case Kind::Refused:
        case Kind::NotUnderstood:
            Drop(says);
    }
}

void NtripSource::DropByTable() {
    const SourceTable table = table_.value_or(SourceTable());
    const std::string& mount = GetAddress().mount;
    if (table.Has(mount)) {
        Drop(fmt::format("the caster lists the mount point \"{}\", and does not send it now", mount));
        return;
    }
    const std::vector<std::string> near = table.FindNear(mount, MaxNear);
    Drop(fmt::format("there is no mount point \"{}\" among the caster's {}{}{}", mount, table.GetMounts().size(),
                     near.empty() ? "" : "; near: ", fmt::join(near, ", ")));
}

void NtripSource::OnEnd(const std::string& reason) {
    if (reply_ && reply_->GetKind() == NtripReply::Kind::SourceTable) {
        DropByTable();
    } else if (isBegun_) {
        Drop(reason);
    } else {
        Drop(fmt::format("no answer from the caster: {}{}", reason,
                         GetAddress().version == 2 ? " (an old one may need ntrip1://)" : ""));
    }
}

void NtripSource::OnLimit() {
    if (!reply_) {
        TcpSource::OnLimit();
    } else if (isBegun_) {
        SendPosition();
    } else if (reply_->GetKind() == NtripReply::Kind::SourceTable) {
        DropByTable();
    } else {
        Drop("no answer from the caster within " + PrintSpan(GetSettings().answerTimeout));
    }
}

// A caster that is to be told where the antenna is sends nothing before.
void NtripSource::OnSilence() {
    if (GetAddress().gga && !hasSent_) {
        Watch();
    } else {
        TcpSource::OnSilence();
    }
}

std::string NtripSource::GetPosition() const {
    return GetAddress().gga && position_ ? position_() : std::string();
}

void NtripSource::SendPosition() {
    if (!GetAddress().gga) return;
    SetLimit(Now() + *GetAddress().gga);
    const std::string sentence = GetPosition();
    if (sentence.empty()) {
        if (!std::exchange(isLacking_, true)) Tell("waits for a position to send to the caster");
        return;
    }
    // One that has not gone out yet tells enough.
    if (!IsAllSent()) return;
    if (!std::exchange(hasSent_, true)) Watch();
    Send(sentence);
}

}  // namespace Host
