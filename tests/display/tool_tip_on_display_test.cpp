// Tool tips on a real screen, with the desktop's light and dark colours.
#include "main_window_fixture.h"

#include <QGuiApplication>
#include <QPalette>
#include <QProcess>
#include <QPushButton>
#include <QScreen>
#include <QToolTip>

#include <algorithm>
#include <cmath>
#include <map>

namespace {

QPalette desktop(bool dark) {
    QPalette palette{dark ? QColor{45, 45, 45} : QColor{239, 239, 239}};
    palette.setColor(QPalette::ToolTipBase, dark ? QColor{30, 30, 30} : QColor{255, 255, 220});
    palette.setColor(QPalette::ToolTipText, dark ? QColor{230, 230, 230} : QColor{10, 10, 10});
    return palette;
}

/// Of a colour, as the web's guidelines on contrast have it, 0 to 1.
double luminance(const QColor& colour) {
    const auto linear = [](double part) {
        return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

double contrast(const QColor& one, const QColor& other) {
    const auto [low, high] = std::minmax({luminance(one), luminance(other)});
    return (high + 0.05) / (low + 0.05);
}

class ToolTipOnDisplay : public MainWindowTest, public testing::WithParamInterface<bool> {
protected:
    ToolTipOnDisplay() { QApplication::setPalette(desktop(GetParam())); }
    ~ToolTipOnDisplay() override {
        QToolTip::hideText();
        close_window();
        QApplication::setPalette(QPalette{});
    }

    /// Rests the real mouse there.
    static bool move_mouse(QPoint place) {
        QProcess xdotool;
        xdotool.start(QStringLiteral("xdotool"),
                      {QStringLiteral("mousemove"), QString::number(place.x()), QString::number(place.y())});
        return xdotool.waitForFinished(patience_ms) && xdotool.exitCode() == 0;
    }
    static QWidget* tip() {
        const auto windows = QApplication::topLevelWidgets();
        const auto found = std::ranges::find_if(windows, [](const QWidget* widget) {
            return widget->inherits("QTipLabel") && widget->isVisible();
        });
        return found == windows.end() ? nullptr : *found;
    }
    struct Look {
        QColor ground;      ///< the colour that most of the tip has on the screen
        double contrast{1}; ///< of what differs most from it
    };
    static Look look_of(const QWidget& tip) {
        const QRect place{tip.mapToGlobal(QPoint{}), tip.size()};
        const QImage image =
            QGuiApplication::primaryScreen()
                ->grabWindow(0, place.x() + 3, place.y() + 3, place.width() - 6, place.height() - 6)
                .toImage();
        std::map<QRgb, int> colours;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                ++colours[image.pixel(x, y)];
            }
        }
        const auto ground =
            std::ranges::max_element(colours, {}, [](const auto& entry) { return entry.second; });
        Look look{QColor{ground->first}};
        for (const auto& [colour, count] : colours) {
            look.contrast = std::max(look.contrast, contrast(QColor{colour}, look.ground));
        }
        return look;
    }
};

TEST_P(ToolTipOnDisplay, CanBeReadOverTheBar) {
    open_window();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window(), patience_ms));
    for (const char* name : {"stop", "playButton", "volume_btn", "pinBtn", "inBtn"}) {
        QWidget* const button = child(name);
        ASSERT_TRUE(move_mouse(button->mapToGlobal(button->rect().center())));
        ASSERT_TRUE(QTest::qWaitFor([&] { return tip() != nullptr && QToolTip::text() == button->toolTip(); },
                                    patience_ms))
            << name;
        constexpr double readable = 4.5; // what guidelines ask of small text
        const QColor desktops_own = desktop(GetParam()).color(QPalette::ToolTipBase);
        Look look;
        EXPECT_TRUE(QTest::qWaitFor(
            [&] {
                look = tip() == nullptr ? Look{} : look_of(*tip());
                return look.ground == desktops_own && look.contrast >= readable;
            },
            patience_ms))
            << name << ": contrast " << look.contrast << " on " << look.ground.name().toStdString();
    }
    ASSERT_TRUE(move_mouse(window().mapToGlobal(QPoint{window().width() / 2, window().height() / 2})));
    EXPECT_TRUE(QTest::qWaitFor([] { return tip() == nullptr; }, patience_ms)) << "it goes with the mouse";
}

INSTANTIATE_TEST_SUITE_P(Desktops, ToolTipOnDisplay, testing::Bool(),
                         [](const auto& desktop) { return desktop.param ? "Dark" : "Light"; });

} // namespace
