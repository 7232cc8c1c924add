// BMP images as a person means it: clockwise turns, upright files, colours.
#include <charconv>
#include <cmath>
#include <memory>
#include <numbers>

#include "commands.h"
#include "files.h"
#include "picture.h"
#include "progress.h"

namespace tool {

namespace {

struct Order {
    std::vector<std::string> files;
    std::string in, out;
    bool replace = false, show = false, upside_down = false;
    double angle = 90;
    std::string at = "0,0", size, turn = "0", fill = "ffffff";
};

// ---- What was asked for ----

// Two numbers with something between them, as 3,4 or 3x4.
std::pair<int32_t, int32_t> two_numbers(const std::string& text, char between, int32_t least) {
    const char* const end = text.data() + text.size();
    int32_t first = 0, second = 0;
    auto result = std::from_chars(text.data(), end, first);
    if (result.ec == std::errc() && result.ptr != end && *result.ptr == between) {
        result = std::from_chars(result.ptr + 1, end, second);
        if (result.ec == std::errc() && result.ptr == end && std::min(first, second) >= least &&
            std::max(first, second) <= kMostPixels) {
            return {first, second};
        }
    }
    throw Failure("\"" + shown(text) + "\" is not two whole numbers with " + between +
                      " between them, from " + std::to_string(least) + " to " +
                      std::to_string(kMostPixels),
                  kUsage);
}

Pixel colour_of(const std::string& text) {
    uint32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number, 16);
    if (text.size() != 6 || result.ec != std::errc() || result.ptr != end) {
        throw Failure("\"" + shown(text) + "\" is no colour: RRGGBB in hexadecimal", kUsage);
    }
    return {static_cast<uint8_t>(number), static_cast<uint8_t>(number >> 8),
            static_cast<uint8_t>(number >> 16)};
}

void must_have_target(const Order& order) {
    if (order.out.empty() && !order.show) throw Failure("Where to? OUT, or --show", kUsage);
    if (order.out == "-" && order.show) throw Failure("--show has no place beside -", kUsage);
    if (!order.out.empty()) refuse_existing(order.out, order.replace);
}

// ---- Telling, showing, saving ----

void tell(Tool& tool, const std::string& name, const Picture& picture, const std::string& before,
          Json object) {
    const bool grey = picture.is_grey();
    const size_t colours = picture.palette.size(), bits = 8 * picture.planes.size();
    const auto dots = [](int32_t a_metre) { return std::lround(a_metre * 0.0254); };
    std::string text = before + shown(name) + ": " + std::to_string(picture.width) + " x " +
                       std::to_string(picture.height) + " pixels, " + std::to_string(bits) +
                       " bits";
    if (colours > 0) {
        text += ", " + std::to_string(colours) + (grey ? " shades of grey" : " colours");
    }
    object.update({{"file", shown(name)},
                   {"width", picture.width},
                   {"height", picture.height},
                   {"bits", bits},
                   {"kind", colours == 0 ? "colour"
                            : grey       ? "grey"
                                         : "palette"}});
    if (colours > 0) object["palette"] = colours;
    if (picture.x_density > 0 && picture.y_density > 0) {
        text += ", " + std::to_string(dots(picture.x_density)) + " x " +
                std::to_string(dots(picture.y_density)) + " dots an inch";
        object["dots_per_metre"] = {picture.x_density, picture.y_density};
    }
    tool.out.say(text, object);
}

int finish(Tool& tool, const Order& order, const Picture& picture) {
    const bool saves = !order.out.empty() && !tool.settings.dry_run;
    if (saves) save_picture(tool.out, order.out, picture);
    const bool shows = order.show && show_picture(tool, picture);
    if (order.out.empty() && !shows) return kFailed;
    if (order.out == "-" && saves) return kDone;  // the picture is what is printed
    if (saves) {
        tell(tool, order.out, picture, "", {{"written", true}});
    } else if (!order.out.empty()) {
        tell(tool, order.out, picture, "would be written: ", {{"written", false}});
    }
    return kDone;
}

int info(Tool& tool, const Order& order) {
    tool.bring_up();
    size_t done = 0;
    for (const std::string& file : order.files) {
        try {
            const Picture picture = load_picture(tool.out, file);
            tell(tool, file, picture, "", {});
            if (order.show) show_picture(tool, picture);
            ++done;
        } catch (const Failure& failure) {
            tool.tell(failure);
        }
    }
    return done == order.files.size() ? kDone : done > 0 ? kPartly : kFailed;
}

// ---- Turns, clockwise ----

constexpr char kNoMemory[] = "There is no memory for the picture";

Picture::Plane empty_plane(int32_t width, int32_t height, uint8_t value = 0) {
    return Picture::Plane(static_cast<size_t>(width) * static_cast<size_t>(height), value);
}

Picture quarter_turns(Picture picture, int turns) {
    const int32_t width = picture.width, height = picture.height;
    for (Picture::Plane& plane : picture.planes) {
        Picture::Plane turned(plane.size());
        if (turns ==
            1) {  // rows become columns, the top one the left one: mirrored it is the right
            check(MOLTE_UTIL_Rotate90Deg(plane.data(), width, height, turned.data()), kNoMemory);
            check(MOLTE_UTIL_LeftRightData(turned.data(), height, width), kNoMemory);
        } else if (turns == 2) {
            check(MOLTE_UTIL_Rotate180Deg(plane.data(), width, height, turned.data()), kNoMemory);
        } else if (turns == 3) {  // counter-clockwise
            check(MOLTE_UTIL_Rotate270Deg(plane.data(), width, height, turned.data()), kNoMemory);
        } else {
            turned = plane;
        }
        plane = std::move(turned);
    }
    if (turns % 2 == 1) {
        std::swap(picture.width, picture.height);
        std::swap(picture.x_density, picture.y_density);
    }
    return picture;
}

// One plane of the picture about its middle, whose pixels may lie between those of the source: each
// is the mix of the four around its place. (The library's turn by any angle is one about a corner,
// by whole degrees and pixels.)
Picture::Plane turned_plane(const Picture& from, const Picture::Plane& source, const Picture& to,
                            double radians, uint8_t fill, Progress* progress) {
    Picture::Plane target = empty_plane(to.width, to.height);
    const double sine = std::sin(radians), cosine = std::cos(radians);
    const auto pixel = [&](int64_t x, int64_t y) -> double {
        if (x < 0 || y < 0 || x >= from.width || y >= from.height) return fill;
        return source[static_cast<size_t>(y * from.width + x)];
    };
    auto at = target.begin();
    for (int32_t j = 0; j < to.height; ++j) {
        progress->advance(1);
        for (int32_t i = 0; i < to.width; ++i, ++at) {
            const double across = i - (to.width - 1) / 2.0, down = j - (to.height - 1) / 2.0;
            const double x = cosine * across + sine * down + (from.width - 1) / 2.0;
            const double y = cosine * down - sine * across + (from.height - 1) / 2.0;
            const auto left = static_cast<int64_t>(std::floor(x));
            const auto top = static_cast<int64_t>(std::floor(y));
            const double right_part = x - std::floor(x), lower_part = y - std::floor(y);
            const double upper = std::lerp(pixel(left, top), pixel(left + 1, top), right_part);
            const double lower =
                std::lerp(pixel(left, top + 1), pixel(left + 1, top + 1), right_part);
            *at = static_cast<uint8_t>(std::lround(std::lerp(upper, lower, lower_part)));
        }
    }
    return target;
}

Picture freely_turned(const Picture& picture, double degrees, Pixel fill) {
    const Picture from = mixable(picture, fill);
    const double radians = degrees * std::numbers::pi / 180;
    const double sine = std::abs(std::sin(radians)), cosine = std::abs(std::cos(radians));
    constexpr double slack = 1e-6;  // what calculating loses must not add a column
    const double width = std::ceil(from.width * cosine + from.height * sine - slack);
    const double height = std::ceil(from.width * sine + from.height * cosine - slack);
    if (width * height > kMostPixels) {
        throw Failure("The picture would have more than " + std::to_string(kMostPixels) +
                      " pixels");
    }
    Picture to = from;
    to.width = static_cast<int32_t>(width);
    to.height = static_cast<int32_t>(height);
    const uint8_t fills[] = {fill.blue, fill.green, fill.red};
    Progress progress("Turning", static_cast<uint64_t>(to.height) * from.planes.size(), "rows");
    for (size_t i = 0; i < from.planes.size(); ++i) {
        to.planes[i] = turned_plane(from, from.planes[i], to, radians, fills[i], &progress);
    }
    return to;
}

int turn(Tool& tool, const Order& order) {
    constexpr double most = 1e6;  // beyond which fractions of a degree get lost
    if (!(std::abs(order.angle) <= most)) throw Failure("The angle is none in degrees", kUsage);
    double angle = std::fmod(order.angle, 360);
    if (angle < 0) angle += 360;
    const Pixel fill = colour_of(order.fill);
    must_have_target(order);
    tool.bring_up();
    const Picture picture = load_picture(tool.out, order.in);
    const bool right = std::fmod(angle, 90) == 0;
    return finish(tool, order,
                  right ? quarter_turns(picture, static_cast<int>(angle / 90) % 4)
                        : freely_turned(picture, angle, fill));
}

// ---- Cuts and mirrors ----

int cut(Tool& tool, const Order& order) {
    const auto [x, y] = two_numbers(order.at, ',', -kMostPixels);
    const auto [width, height] = two_numbers(order.size, 'x', 1);
    if (int64_t{width} * height > kMostPixels) {
        throw Failure(
            "\"" + order.size + "\" is more than " + std::to_string(kMostPixels) + " pixels",
            kUsage);
    }
    const Pixel fill = colour_of(order.fill);
    must_have_target(order);
    tool.bring_up();
    Picture from = load_picture(tool.out, order.in);
    const bool inside = x >= 0 && y >= 0 && width <= from.width - x && height <= from.height - y;
    if (!inside) from = mixable(from, fill);
    Picture to = from;
    to.width = width;
    to.height = height;
    const uint8_t fills[] = {fill.blue, fill.green, fill.red};
    for (size_t i = 0; i < from.planes.size(); ++i) {
        to.planes[i] = empty_plane(width, height, fills[i]);
        const int32_t met = MOLTE_UTIL_RectCut(from.planes[i].data(), from.width, from.height,
                                               to.planes[i].data(), width, height, x, y);
        if (met != 0) continue;
        throw Failure("The rectangle lies beside the picture of " + std::to_string(from.width) +
                          " x " + std::to_string(from.height) + " pixels",
                      kNothing);
    }
    return finish(tool, order, quarter_turns(std::move(to), std::stoi(order.turn) / 90));
}

int mirror(Tool& tool, const Order& order) {
    must_have_target(order);
    tool.bring_up();
    Picture picture = load_picture(tool.out, order.in);
    for (Picture::Plane& plane : picture.planes) {
        const auto flip = order.upside_down ? MOLTE_UTIL_UpSideDownData : MOLTE_UTIL_LeftRightData;
        check(flip(plane.data(), picture.width, picture.height), kNoMemory);
    }
    return finish(tool, order, picture);
}

int capture(Tool& tool, const Order& order) {
    must_have_target(order);
    tool.bring_up();
    return finish(tool, order, captured_screen());
}

}  // namespace

void add_image(Commands& commands) {
    const auto order = std::make_shared<Order>();
    CLI::App* image = commands.group("image", "Looks at, turns, cuts and captures BMP images");
    const auto shows = [order](CLI::App* command) {
        command->add_flag("--show", order->show, "Draw the picture in the terminal");
    };
    const auto fills = [order](CLI::App* command) {
        command
            ->add_option("--fill", order->fill,
                         "Colour of what lies outside the image; white otherwise")
            ->type_name("RRGGBB");
    };
    const auto writes = [&commands, order, shows](CLI::App* command, bool reads) {
        if (reads) {
            command->add_option("IN", order->in, "A BMP file of 8 or 24 bits; - is standard input")
                ->required();
        }
        command->add_option("OUT", order->out, "The new BMP file; - is standard output");
        command->add_flag("--replace", order->replace, "Replace OUT if it exists");
        shows(command);
        commands.changes(command);
    };

    CLI::App* info_command = commands.add("info", "Tells size, depth, colours and resolution",
                                          {{"image info print.bmp", "in a line"},
                                           {"image info --show print.bmp", "and as a picture"}},
                                          image);
    info_command->add_option("FILE", order->files, "BMP files of 8 or 24 bits; - is standard input")
        ->required();
    shows(info_command);
    commands.runs(info_command, [order](Tool& tool) { return info(tool, *order); });

    CLI::App* turn_command = commands.add(
        "turn", "Turns an image",
        {{"image turn print.bmp turned.bmp", "a quarter turn clockwise"},
         {"image turn print.bmp turned.bmp --by -90", "a quarter turn counter-clockwise"},
         {"image turn print.bmp --by 12.5 --show", "a little; shown, not kept"}},
        image);
    commands.describe(
        turn_command,
        "Right angles keep every pixel. By others an image turns about its middle and "
        "becomes as\nlarge as it then needs to be; one with a palette of colours "
        "becomes one of 24 bits.");
    writes(turn_command, true);
    turn_command->add_option("--by", order->angle, "Degrees, clockwise; 90 otherwise")
        ->type_name("DEGREES");
    fills(turn_command);
    commands.runs(turn_command, [order](Tool& tool) { return turn(tool, *order); });

    CLI::App* cut_command = commands.add(
        "cut", "Cuts a rectangle out of an image",
        {{"image cut print.bmp core.bmp --at 120,80 --size 200x200", "from its upper left corner"},
         {"image cut page.bmp print.bmp --at 0,0 --size 500x400 --turn 90", "and turned"}},
        image);
    commands.describe(cut_command,
                      "The rectangle may pass the image at any side; an image with a palette of "
                      "colours\nbecomes one of 24 bits then.");
    writes(cut_command, true);
    cut_command->add_option("--at", order->at, "Its upper left corner; 0,0 otherwise")
        ->type_name("X,Y");
    cut_command->add_option("--size", order->size, "Its size, before it is turned")
        ->type_name("WIDTHxHEIGHT")
        ->required();
    choice(cut_command->add_option("--turn", order->turn, "Degrees, clockwise"),
           {"0", "90", "180", "270"});
    fills(cut_command);
    commands.runs(cut_command, [order](Tool& tool) { return cut(tool, *order); });

    CLI::App* mirror_command =
        commands.add("mirror", "Exchanges left and right of an image, or top and bottom",
                     {{"image mirror print.bmp mirrored.bmp", "left and right"},
                      {"image mirror --upside-down print.bmp mirrored.bmp", "top and bottom"}},
                     image);
    writes(mirror_command, true);
    mirror_command->add_flag("--upside-down", order->upside_down, "Top and bottom");
    commands.runs(mirror_command, [order](Tool& tool) { return mirror(tool, *order); });

    CLI::App* capture_command =
        commands.add("capture", "Takes a picture of the screen, of 24 bits",
                     {{"image capture screen.bmp", "of the display of this session"},
                      {"image capture --show", "in the terminal alone"}},
                     image);
    commands.describe(capture_command,
                      "On Linux the screen is that of the X server that DISPLAY names.");
    writes(capture_command, false);
    commands.runs(capture_command, [order](Tool& tool) { return capture(tool, *order); });
}

}  // namespace tool
