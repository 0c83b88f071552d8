#include "Transform.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>

namespace qlhost {
namespace {

struct StepForm {
    std::string_view word;
    TransformStep::Kind kind;
    std::size_t numbers;
    double least, most;  // magnitudes that make sense: what they make together has an inverse
    std::string_view form;
};
constexpr StepForm kForms[] = {
    {"translate", TransformStep::Kind::Translate, 2, 0, 1e6, "translate X Y"},
    {"scale", TransformStep::Kind::Scale, 2, 1e-2, 1e2, "scale X Y [about X Y]"},
    {"rotate", TransformStep::Kind::Rotate, 1, 0, 1e6, "rotate DEGREES [about X Y]"},
};
constexpr std::size_t kMostSteps = 8;

std::vector<std::string_view> Split(std::string_view text, char separator)
{
    std::vector<std::string_view> parts;
    while (true) {
        const std::size_t end = text.find(separator);
        if (const auto part = text.substr(0, end); !part.empty()) parts.push_back(part);
        if (end == std::string_view::npos) return parts;
        text.remove_prefix(end + 1);
    }
}

bool ReadNumber(std::string_view word, double least, double most, double& number)
{
    const auto [end, fault] = std::from_chars(word.data(), word.data() + word.size(), number);
    return fault == std::errc() && end == word.data() + word.size() && std::fabs(number) >= least &&
           std::fabs(number) <= most;
}

bool ReadCentre(const std::vector<std::string_view>& words, std::size_t at, M_Vector2& centre)
{
    return words.size() == at + 3 && words[at] == "about" && ReadNumber(words[at + 1], 0, 1e6, centre.x) &&
           ReadNumber(words[at + 2], 0, 1e6, centre.y);
}

bool ReadStep(const std::vector<std::string_view>& words, const StepForm& form, TransformStep& step)
{
    step.kind = form.kind;
    const std::size_t end = 1 + form.numbers;
    if (words.size() < end || !ReadNumber(words[1], form.least, form.most, step.a)) return false;
    if (form.numbers > 1 && !ReadNumber(words[2], form.least, form.most, step.b)) return false;
    if (words.size() == end) return true;
    return form.kind != TransformStep::Kind::Translate && ReadCentre(words, end, step.centre.emplace());
}

// The colour at a place between pixel centres, blended from the four around it.
class Sampler {
  public:
    explicit Sampler(const Frame& frame) : m_frame{frame} {}

    bool Covers(const M_Vector2& place) const
    {
        return place.x >= 0 && place.y >= 0 && place.x < m_frame.Size().width &&
               place.y < m_frame.Size().height;
    }

    // `place` is covered.
    void Sample(const M_Vector2& place, std::uint8_t* out) const
    {
        const Axis x{place.x, m_frame.Size().width}, y{place.y, m_frame.Size().height};
        const std::uint8_t* corners[] = {At(x.low, y.low), At(x.high, y.low), At(x.low, y.high),
                                         At(x.high, y.high)};
        for (int i = 0; i < 4; ++i) {
            const double upper = corners[0][i] + (corners[1][i] - corners[0][i]) * x.share;
            const double lower = corners[2][i] + (corners[3][i] - corners[2][i]) * x.share;
            out[i] = static_cast<std::uint8_t>(upper + (lower - upper) * y.share + 0.5);
        }
    }

  private:
    struct Axis {
        std::size_t low, high;
        double share;  // of the higher one

        Axis(double place, std::size_t length)
        {
            const double beyond = std::max(place - 0.5, 0.0);  // centres lie half a pixel in
            low = static_cast<std::size_t>(beyond);
            high = std::min(low + 1, length - 1);
            share = beyond - static_cast<double>(low);
        }
    };

    const std::uint8_t* At(std::size_t x, std::size_t y) const
    {
        return m_frame.Pixels() + (y * m_frame.Size().width + x) * 4;
    }

    const Frame& m_frame;
};

}  // namespace

std::optional<Transform> ParseTransform(std::string_view text, std::string& why)
{
    Transform transform;
    for (const std::string_view part : Split(text, ';')) {
        const auto words = Split(part, ' ');
        if (words.empty()) continue;
        const auto* form =
            std::find_if(std::begin(kForms), std::end(kForms),
                         [&words](const StepForm& candidate) { return candidate.word == words[0]; });
        if (form == std::end(kForms)) {
            why = "'" + std::string(words[0]) + "' is none of translate, scale, rotate";
            return std::nullopt;
        }
        if (!ReadStep(words, *form, transform.emplace_back())) {
            why = "'" + std::string(part) + "' is not of the form " + std::string(form->form) +
                  " with numbers in reach";
            return std::nullopt;
        }
    }
    if (transform.empty() || transform.size() > kMostSteps) {
        why = "one to " + std::to_string(kMostSteps) + " steps make a transform";
        return std::nullopt;
    }
    return transform;
}

M_Matrix3 MatrixOf(const Transform& transform, const PngSize& size)
{
    const M_Vector2 middle{size.width / 2.0, size.height / 2.0};
    M_Matrix3 m;
    M_SetIdentityMatrix(&m);
    for (const TransformStep& step : transform) {
        const M_Vector2 centre = step.centre.value_or(middle);
        switch (step.kind) {
            case TransformStep::Kind::Translate:
                M_TranslateMatrix(&m, step.a, step.b);
                break;
            case TransformStep::Kind::Scale:
                M_ScaleMatrix(&m, step.a, step.b, centre.x, centre.y);
                break;
            case TransformStep::Kind::Rotate:
                M_RotateMatrix(&m, step.a * std::numbers::pi / 180, centre.x, centre.y);
                break;
        }
    }
    return m;
}

std::shared_ptr<const Frame> Redraw(const Frame& frame, const Transform& transform)
{
    const PngSize& size = frame.Size();
    const auto redrawn = Frame::Allocate(size);
    if (!redrawn) return nullptr;
    const M_Matrix3 m = MatrixOf(transform, size);
    M_Matrix3 back;
    M_InverseMatrix(&m, &back);

    // Every new pixel asks where its centre came from, a row at a time.
    const Sampler sampler{frame};
    std::vector<M_Vector2> row(size.width);
    std::uint8_t* out = redrawn->Pixels();
    for (std::uint32_t y = 0; y < size.height; ++y) {
        for (std::uint32_t x = 0; x < size.width; ++x) row[x] = {x + 0.5, y + 0.5};
        M_TransformFloatPoints(&back, static_cast<std::int32_t>(size.width), row.data());
        for (const M_Vector2& place : row) {
            static constexpr std::uint8_t kBlack[] = {0, 0, 0, 255};
            if (sampler.Covers(place)) {
                sampler.Sample(place, out);
            } else {
                std::copy_n(kBlack, 4, out);
            }
            out += 4;
        }
    }
    return redrawn;
}

}  // namespace qlhost
