#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "platform/ffmpeg/container_state.h"

extern "C" {
#include <libavutil/mathematics.h>
}

static constexpr AVRational USUAL_RATES[] = {
    {24000, 1001}, {24, 1}, {25, 1},       {30000, 1001}, {30, 1},        {48, 1},       {50, 1},
    {60, 1},       {15, 1}, {60000, 1001}, {12, 1},       {10, 1},        {20, 1},       {8, 1},
    {5, 1},        {1, 1},  {100, 1},      {120, 1},      {18, 1},        {16, 1},       {6, 1},
    {4, 1},        {2, 1},  {15000, 1001}, {12000, 1001}, {119880, 1001}, {120000, 1001}};
static constexpr double GRID = 0.4;      // of a picture: how far one may lie from its place
static constexpr double GAP_GRID = 0.1;  // the same where places are left out, which almost any times would fit
static constexpr double GRID_RATE_MAX = 1000;
static constexpr double USUAL = 0.015;      // how near a measured rate counts as a usual one
static constexpr double RATE_MAX = 120;     // of a file without a grid
static constexpr double JUMP_SECONDS = 30;  // a step of the clock that is a break of the recording and not a still
static constexpr size_t REFRESH_KEYS = 2;   // one is the encoder's promise, the other for what refers further back
static constexpr int DELAY_MAX = 16;

static bool hidden(const STORED_PACKET& p) { return (p.flags & PACKET_HIDDEN) != 0; }

static double rate_of(AVRational rate) { return rate.num > 0 && rate.den > 0 ? av_q2d(rate) : 0; }

// ---- order of display where the file has no times of display

/// Numbers in the order of display from the kinds of the pictures: B is shown at once, any other when the next one that
/// is no B has come.
static std::vector<uint32_t> order_by_kind(const std::vector<STORED_PACKET>& packets) {
    std::vector<uint32_t> order;
    const bool reordered =
        std::any_of(packets.begin(), packets.end(), [](const STORED_PACKET& p) { return (p.flags & PACKET_B) != 0; });
    int64_t held = -1;
    for (size_t i = 0; i < packets.size(); ++i) {
        if (hidden(packets[i])) continue;
        if (!reordered || (packets[i].flags & PACKET_B)) {
            order.push_back(uint32_t(i));
            continue;
        }
        if (held >= 0) order.push_back(uint32_t(held));
        held = int64_t(i);
    }
    if (held >= 0) order.push_back(uint32_t(held));
    return order;
}

/// The same from picture order counts, which begin anew at a key frame.
static std::vector<uint32_t> order_by_count(const std::vector<STORED_PACKET>& packets) {
    std::vector<uint32_t> order;
    for (size_t i = 0; i < packets.size(); ++i)
        if (!hidden(packets[i])) order.push_back(uint32_t(i));
    const auto by_count = [&](uint32_t a, uint32_t b) { return packets[a].order < packets[b].order; };
    size_t begin = 0;
    int32_t highest = INT32_MIN;
    const size_t n = order.size();
    for (size_t i = 0; i <= n; ++i) {
        const STORED_PACKET* p = i < n ? &packets[order[i]] : nullptr;  // order[i .. n - 1] is unsorted still
        if (!p || ((p->flags & PACKET_KEY) && p->order <= highest)) {
            std::stable_sort(order.begin() + ptrdiff_t(begin), order.begin() + ptrdiff_t(i), by_count);
            begin = i;
            highest = INT32_MIN;
        }
        if (p) highest = std::max(highest, p->order);
    }
    return order;
}

static int64_t usual_length(const std::vector<STORED_PACKET>& packets, const AVStream* stream) {
    std::vector<int64_t> lengths;
    for (const STORED_PACKET& p : packets)
        if (p.length > 0) lengths.push_back(p.length);
    if (!lengths.empty()) {
        std::nth_element(lengths.begin(), lengths.begin() + ptrdiff_t(lengths.size() / 2), lengths.end());
        return lengths[lengths.size() / 2];
    }
    const AVRational rate = rate_of(stream->avg_frame_rate) > 0 ? stream->avg_frame_rate : stream->r_frame_rate;
    const int64_t ticks = rate_of(rate) > 0 ? av_rescale_q(1, av_inv_q(rate), stream->time_base) : 0;
    return std::max<int64_t>(ticks, 1);
}

/// Without times of display: the decode times in their order, or a plain count, go to the pictures in the order of
/// display.
static void fill_times(std::vector<STORED_PACKET>* packets, const AVStream* stream) {
    const auto missing = [](const STORED_PACKET& p) { return p.pts == AV_NOPTS_VALUE && !hidden(p); };
    if (std::none_of(packets->begin(), packets->end(), missing)) return;
    const bool counted = std::all_of(packets->begin(), packets->end(),
                                     [](const STORED_PACKET& p) { return (p.flags & PACKET_ORDERED) != 0; });
    const std::vector<uint32_t> order = counted ? order_by_count(*packets) : order_by_kind(*packets);
    const int64_t length = usual_length(*packets, stream);
    std::vector<int64_t> times;
    for (const STORED_PACKET& p : *packets) {
        if (hidden(p)) continue;
        const int64_t expected = times.empty() ? 0 : times.back() + length;
        const bool usable = p.dts != AV_NOPTS_VALUE && (times.empty() || p.dts > times.back());
        times.push_back(usable ? p.dts : expected);
    }
    size_t i = 0;
    for (const uint32_t packet : order) (*packets)[packet].pts = times[i++];
}

/// Packets that show nothing get some time, and all times are held so that no sum of them can pass 64 bits.
static void hold_times(std::vector<STORED_PACKET>* packets) {
    int64_t last = packets->front().dts == AV_NOPTS_VALUE ? 0 : packets->front().dts;
    for (STORED_PACKET& p : *packets) {
        if (p.pts == AV_NOPTS_VALUE) p.pts = p.dts == AV_NOPTS_VALUE ? last : p.dts;
        last = p.pts = std::clamp<int64_t>(p.pts, -(int64_t{1} << 60), int64_t{1} << 60);
    }
}

/// A clock that jumps (two recordings in one file) is made to run on.
static void bridge_jumps(std::vector<STORED_PACKET>* packets, const AVStream* stream) {
    const int64_t length = usual_length(*packets, stream);
    const int64_t jump = std::max<int64_t>(av_rescale_q(int64_t(JUMP_SECONDS), {1, 1}, stream->time_base), length * 64);
    int64_t offset = 0, last = AV_NOPTS_VALUE;
    for (STORED_PACKET& p : *packets) {
        const int64_t now = p.dts == AV_NOPTS_VALUE ? p.pts : std::clamp<int64_t>(p.dts, p.pts - jump, p.pts);
        const int64_t back = length * (p.dts == AV_NOPTS_VALUE ? 2 * DELAY_MAX : 2);
        if (last != AV_NOPTS_VALUE && (now + offset - last > jump || last - now - offset > back))
            offset = last + length - now;
        last = now + offset;
        p.pts += offset;
    }
}

// ---- which are shown, and where decoding may start

/// Packets in front of the first key frame cannot be decoded; nor can pictures in front of it that come behind it in
/// the file, unless it says that they need nothing more.
static void hide_undecodable(std::vector<STORED_PACKET>* packets) {
    const auto key = std::find_if(packets->begin(), packets->end(),
                                  [](const STORED_PACKET& p) { return (p.flags & PACKET_KEY) != 0; });
    if (key == packets->end()) {
        packets->front().flags |= PACKET_KEY;
        return;
    }
    for (auto p = packets->begin(); p != key; ++p) p->flags |= PACKET_HIDDEN;
    if (key->flags & PACKET_CLOSED) return;
    for (auto p = key; p != packets->end(); ++p)
        if (p->pts < key->pts) p->flags |= PACKET_HIDDEN;
}

static void fill_shown(const std::vector<STORED_PACKET>& packets, TIMELINE* t) {
    for (size_t i = 0; i < packets.size(); ++i)
        if (!hidden(packets[i])) t->shown.push_back({packets[i].pts, uint32_t(i)});
    std::stable_sort(t->shown.begin(), t->shown.end(), [](const SHOWN& a, const SHOWN& b) { return a.pts < b.pts; });
    t->place.assign(packets.size(), -1);
    for (size_t i = 0; i < t->shown.size(); ++i) t->place[t->shown[i].packet] = int32_t(i);
}

/// The place of a packet, or where it would be if it were shown.
static int32_t place_of(const TIMELINE& t, const std::vector<STORED_PACKET>& packets, size_t i) {
    if (t.place[i] >= 0) return t.place[i];
    const auto at = std::lower_bound(t.shown.begin(), t.shown.end(), packets[i].pts,
                                     [](const SHOWN& s, int64_t pts) { return s.pts < pts; });
    return int32_t(at - t.shown.begin());
}

static void fill_keys(const std::vector<STORED_PACKET>& packets, TIMELINE* t) {
    std::vector<size_t> keys;
    for (size_t i = 0; i < packets.size(); ++i)
        if (packets[i].flags & PACKET_KEY) keys.push_back(i);
    for (size_t k = 0; k < keys.size(); ++k) {
        const bool refresh = k > 0 && (packets[keys[k]].flags & PACKET_REFRESH);
        const size_t whole = k + (refresh ? REFRESH_KEYS : 0);
        if (whole >= keys.size()) continue;
        const int32_t floor = k == 0 ? 0 : place_of(*t, packets, keys[whole]);
        if (!t->floors.empty() && floor < t->floors.back()) continue;
        t->keys.push_back(uint32_t(keys[k]));
        t->floors.push_back(floor);
    }
}

/// How many pictures come in the file in front of one that is shown before them.
static int delay_of(const TIMELINE& t) {
    int64_t delay = 0, coded = 0;
    for (const int32_t place : t.place)
        if (place >= 0) delay = std::max(delay, coded++ - place);
    return int(std::min<int64_t>(delay, DELAY_MAX));
}

// ---- rate

static bool lies_on_grid(const TIMELINE& t, AVRational rate) {
    const double step = rate_of(rate) * av_q2d(t.tick);
    if (step <= 0) return false;
    const int64_t first = t.shown.front().pts;
    for (size_t i = 0; i < t.shown.size(); ++i)
        if (std::abs(double(t.shown[i].pts - first) * step - double(i)) > GRID) return false;
    return true;
}

/// The same with places left out: what is missing was dropped, and the rate is still the nominal one.
static bool lies_on_grid_with_gaps(const TIMELINE& t, AVRational rate) {
    const double step = rate_of(rate) * av_q2d(t.tick);
    if (rate_of(rate) <= 0 || rate_of(rate) > RATE_MAX) return false;
    const int64_t first = t.shown.front().pts;
    return std::all_of(t.shown.begin(), t.shown.end(), [&](const SHOWN& s) {
        const double place = double(s.pts - first) * step;
        return std::abs(place - std::round(place)) <= GAP_GRID;
    });
}

static double average_rate(const TIMELINE& t) {
    const double seconds = double(t.shown.back().pts - t.shown.front().pts) * av_q2d(t.tick);
    return seconds > 0 ? double(t.shown.size() - 1) / seconds : 0;
}

static AVRational nearest_usual(double rate) {
    AVRational best = av_d2q(rate, 1000000);
    double distance = USUAL * rate;
    for (const AVRational usual : USUAL_RATES) {
        if (std::abs(rate_of(usual) - rate) >= distance) continue;
        distance = std::abs(rate_of(usual) - rate);
        best = usual;
    }
    return best;
}

static AVRational measured_rate(const TIMELINE& t) {
    const int64_t span = t.shown.back().pts - t.shown.front().pts;
    int num = 0, den = 1;
    const int64_t count = int64_t(t.shown.size()) - 1;
    if (span > 0 && span <= INT64_MAX / t.tick.num && count <= INT64_MAX / t.tick.den)
        av_reduce(&num, &den, count * t.tick.den, span * t.tick.num, INT32_MAX);
    return {num, den};
}

static double median_rate(const TIMELINE& t) {
    std::vector<int64_t> steps;
    for (size_t i = 1; i < t.shown.size(); ++i)
        if (t.shown[i].pts > t.shown[i - 1].pts) steps.push_back(t.shown[i].pts - t.shown[i - 1].pts);
    if (steps.empty()) return 0;
    std::nth_element(steps.begin(), steps.begin() + ptrdiff_t(steps.size() / 2), steps.end());
    return 1 / (double(steps[steps.size() / 2]) * av_q2d(t.tick));
}

static bool try_constant(TIMELINE* t, AVRational rate) {
    if (rate_of(rate) <= 0 || rate_of(rate) > GRID_RATE_MAX || !lies_on_grid(*t, rate)) return false;
    t->rate = rate.num;
    t->scale = rate.den;
    return true;
}

static void choose_rate(const AVStream* stream, AVRational guessed, TIMELINE* t) {
    for (const AVRational rate : {stream->r_frame_rate, stream->avg_frame_rate, guessed})
        if (try_constant(t, rate)) return;
    const double average = average_rate(*t);
    if (average > 0 && (try_constant(t, nearest_usual(average)) || try_constant(t, measured_rate(*t)))) return;
    t->constant = false;
    AVRational rate = nearest_usual(std::clamp(std::max(median_rate(*t), average), 0.001, RATE_MAX));
    for (const AVRational nominal : {stream->avg_frame_rate, guessed, stream->r_frame_rate})
        if (lies_on_grid_with_gaps(*t, nominal)) rate = nominal;
    t->rate = std::max(rate.num, 1);
    t->scale = std::max(rate.den, 1);
}

static int64_t count_frames(const TIMELINE& t, const std::vector<STORED_PACKET>& packets, const AVStream* stream) {
    if (t.constant) return int64_t(t.shown.size());
    const SHOWN& last = t.shown.back();
    const int64_t own = packets[last.packet].length, length = own > 0 ? own : usual_length(packets, stream);
    const double seconds = double(last.pts - t.shown.front().pts + length) * av_q2d(t.tick);
    return int64_t(std::clamp(std::round(seconds * t.rate / t.scale), 1.0, double(INT32_MAX)));
}

bool timeline_make(std::vector<STORED_PACKET>* packets, const AVStream* stream, AVRational guessed, bool breaks,
                   TIMELINE* t) {
    t->tick = stream->time_base;
    if (packets->empty() || t->tick.num <= 0 || t->tick.den <= 0) return false;
    fill_times(packets, stream);
    hold_times(packets);
    if (breaks) bridge_jumps(packets, stream);
    hide_undecodable(packets);
    fill_shown(*packets, t);
    if (t->shown.empty()) return false;
    fill_keys(*packets, t);
    t->delay = delay_of(*t);
    choose_rate(stream, guessed, t);
    t->frames = count_frames(*t, *packets, stream);
    return true;
}

int32_t timeline_place(const TIMELINE& t, int64_t frame) {
    frame = std::clamp<int64_t>(frame - t.lead, 0, t.frames - 1);
    if (t.constant) return int32_t(frame);
    const double tick_n = double(frame) * t.scale / t.rate / av_q2d(t.tick);
    // One tick for times that were rounded, as long as that is little of a picture.
    const double slack = std::min(1.0, 0.25 * t.scale / t.rate / av_q2d(t.tick));
    const int64_t time = t.shown.front().pts + int64_t(std::floor(tick_n + slack));
    const auto behind = std::upper_bound(t.shown.begin(), t.shown.end(), time,
                                         [](int64_t value, const SHOWN& s) { return value < s.pts; });
    return std::max(int32_t(behind - t.shown.begin()) - 1, 0);
}
