#include "DemoCatalogue.h"

#include "foundation/VMPropertyList.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <QtMath>

namespace DemoCatalogue {
namespace {

struct Product
{
    QString id;
    QString title;
    QString description;
    QColor from;
    QColor to;
    QStringList versions; // oldest first
    QString tags;         // tags of the newest version
    bool discontinued = false;
};

const QList<Product>& products()
{
    static const QList<Product> list = {
        {"LV-PRISM",
         "Prismatic Glow",
         "Soft spectral glows and chromatic halos that follow the brightest parts of your footage.",
         QColor(0xff, 0x7a, 0x59),
         QColor(0xc9, 0x3c, 0xd8),
         {"1.0.0", "1.2.0", "2.0.1"},
         "FxPlug3"},
        {"LV-HALFTONE",
         "Halftone Bloom",
         "Print-inspired dot screens, duotones and ink spreads with animated screen angles.",
         QColor(0x33, 0xc7, 0xa5),
         QColor(0x1c, 0x6f, 0xd6),
         {"3.1.0", "3.2.4"},
         "FxPlug3"},
        {"LV-DRIFT",
         "Driftwood Titles",
         "Forty hand-crafted title animations with organic, wind-blown reveals.",
         QColor(0xe8, 0xb0, 0x6a),
         QColor(0x8a, 0x4b, 0x2a),
         {"1.4.2", "1.5.0"},
         "FxPlug3, Titles"},
        {"LV-AURORA",
         "Aurora Light Leaks",
         "Filmic light leaks and lens flares generated in real time, never looped.",
         QColor(0x5e, 0xe7, 0xd0),
         QColor(0x6c, 0x4b, 0xf0),
         {"2.0.0", "2.1.0", "2.2.0"},
         "FxPlug3"},
        {"LV-KINETIC",
         "Kinetic Type Kit",
         "Beat-synced typography presets for promos, lyric videos and social cuts.",
         QColor(0xff, 0xd6, 0x4a),
         QColor(0xff, 0x5a, 0x5f),
         {"1.0.0", "1.0.3"},
         "Titles"},
        {"LV-VELLUM",
         "Vellum Grain",
         "Photochemical grain, gate weave and halation modelled on classic stocks.",
         QColor(0xb8, 0xb8, 0xc4),
         QColor(0x4a, 0x4a, 0x58),
         {"4.0.0", "4.1.1"},
         "FxPlug3"},
        {"LV-ORBIT",
         "Orbit Transitions",
         "Spherical, tunnel and parallax transitions with motion blur built in.",
         QColor(0x4f, 0xa8, 0xff),
         QColor(0x1f, 0x2f, 0x8f),
         {"2.3.0"},
         "FxPlug3, Transitions"},
        {"LV-RETRO",
         "Retrograde VHS",
         "Tape warble, tracking noise and chroma bleed. No longer developed.",
         QColor(0xd9, 0x6b, 0xc4),
         QColor(0x43, 0x2b, 0x7a),
         {"1.0.0", "1.1.0"},
         "",
         true},
    };
    return list;
}

QString nameOf(const Product& p)
{
    QString name = p.title;
    name.remove(QLatin1Char(' '));
    return name;
}

QString pluginIdentifier(const Product& p)
{
    return QStringLiteral("com.quarnet.FxPlug.%1XPC").arg(nameOf(p));
}

QString releaseString(const QDateTime& now, int daysAgo)
{
    return now.addDays(-daysAgo).date().toString(QStringLiteral("yy.MM.dd"));
}

QString url(const QUrl& base, const QString& path)
{
    QUrl result(base);
    QString basePath = result.path();
    while (basePath.endsWith(QLatin1Char('/')))
        basePath.chop(1);
    result.setPath(basePath + path);
    return result.toString();
}

QVariantMap productDict(const Product& p, const QUrl& base, const QDateTime& now, int index)
{
    QVariantList versions;
    for (int v = 0; v < p.versions.size(); ++v) {
        const bool newest = v == p.versions.size() - 1;
        QVariantMap version{
            {"Product Version", p.versions.at(v)},
            {"Release Date", releaseString(now, (p.versions.size() - 1 - v) * 120 + 3 + index * 9)},
            {"OSX Version", "11.0"},
            {"Host Versions", QVariantMap{{"FCP X", "10.6"}, {"Motion", "5.6"}}},
            {"New Features", newest ? 2 : 1},
            {"Bug Fixes", 1},
            {"New Features Description",
             newest ? "Faster rendering on Apple silicon; new presets." : "First release of this line."},
            {"Bug Fixes Description", "Fixes a rare flicker when scrubbing."},
            {"Download URL", url(base, QStringLiteral("/VM_installers/%1-%2.pkg").arg(p.id, p.versions.at(v)))},
            {"Installer Requires Authentication", true},
        };
        if (newest && !p.tags.isEmpty())
            version.insert("Version Tags", p.tags);
        versions.append(version);
    }
    return QVariantMap{
        {"Product ID", p.id},
        {"Title", p.title},
        {"Identifier", pluginIdentifier(p)},
        {"Check Installed Directory", wrapperPath(nameOf(p))},
        {"Description", p.description},
        {"Info URL", url(base, QStringLiteral("/products/%1.html").arg(p.id.toLower()))},
        {"Docs URL", url(base, QStringLiteral("/support/%1.html").arg(p.id.toLower()))},
        {"Buy URL", url(base, QStringLiteral("/store/%1.html").arg(p.id.toLower()))},
        {"Icon URL", url(base, QStringLiteral("/images/icons/%1.png").arg(p.id.toLower()))},
        {"Uninstall Script", url(base, QStringLiteral("/VM_installers/uninstallers/%1.bash").arg(p.id))},
        {"Versions", versions},
        {"Discontinued", p.discontinued},
    };
}

QImage iconImage(const Product& p)
{
    QImage image(128, 128, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath tile;
    tile.addRoundedRect(QRectF(4, 4, 120, 120), 28, 28);
    QLinearGradient gradient(0, 0, 128, 128);
    gradient.setColorAt(0, p.from);
    gradient.setColorAt(1, p.to);
    painter.fillPath(tile, gradient);
    QRadialGradient shine(QPointF(40, 30), 90);
    shine.setColorAt(0, QColor(255, 255, 255, 90));
    shine.setColorAt(1, QColor(255, 255, 255, 0));
    painter.fillPath(tile, shine);
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(56);
    font.setBold(true);
    painter.setFont(font);
    painter.setPen(QColor(255, 255, 255, 235));
    painter.drawText(QRectF(4, 4, 120, 120), Qt::AlignCenter, p.title.left(1));
    return image;
}

QImage newsImage(const QString& headline, const QColor& from, const QColor& to, int seed)
{
    QImage image(880, 360, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient gradient(0, 0, 880, 360);
    gradient.setColorAt(0, from);
    gradient.setColorAt(1, to);
    painter.fillRect(image.rect(), gradient);
    for (int i = 0; i < 14; ++i) {
        const qreal x = std::fmod(137.0 * (i + seed) * 3.7, 880.0);
        const qreal y = std::fmod(71.0 * (i * 5 + seed) * 1.3, 360.0);
        const qreal r = 30 + std::fmod(19.0 * (i + 1) * (seed + 2), 110.0);
        QRadialGradient orb(QPointF(x, y), r);
        orb.setColorAt(0, QColor(255, 255, 255, 70));
        orb.setColorAt(1, QColor(255, 255, 255, 0));
        painter.setPen(Qt::NoPen);
        painter.setBrush(orb);
        painter.drawEllipse(QPointF(x, y), r, r);
    }
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(46);
    font.setBold(true);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(QRectF(48, 0, 784, 360), Qt::AlignVCenter | Qt::AlignLeft | Qt::TextWordWrap, headline);
    return image;
}

bool writeFile(const QString& path, const QByteArray& data)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
}

QByteArray page(const QString& title, const QString& body)
{
    return QStringLiteral("<!doctype html><html><head><meta charset=\"utf-8\"><title>%1</title></head>"
                          "<body style=\"font-family: sans-serif; max-width: 40em; margin: 3em auto\">"
                          "<h1>%1</h1><p>%2</p></body></html>")
        .arg(title.toHtmlEscaped(), body.toHtmlEscaped())
        .toUtf8();
}

struct News
{
    QString title;
    QString headline;
    int releasedDaysAgo;
    int showDays;
    QString image;
    QColor from;
    QColor to;
};

const QList<News>& news()
{
    static const QList<News> list = {
        {"Aurora Light Leaks 2.2", "Aurora Light Leaks 2.2 is here, with twelve new leak shapes and a faster renderer.",
         2, 30, "aurora-22", QColor(0x2b, 0x1b, 0x6b), QColor(0x1f, 0xb8, 0xa6)},
        {"Autumn Sale", "Save 30% on every bundle until the end of the month.", 6, 21, "autumn-sale",
         QColor(0xb3, 0x3b, 0x1f), QColor(0xf0, 0x9a, 0x3e)},
        {"Tutorial: Title Design", "New video tutorial: designing organic title reveals with Driftwood Titles.", 12, 60,
         "title-tutorial", QColor(0x3a, 0x2a, 0x1a), QColor(0xc4, 0x8a, 0x4f)},
        // Shown in earlier seasons; long expired.
        {"Summer Webinar", "Join our live summer webinar on colour and light.", 120, 14, "summer-webinar",
         QColor(0x0f, 0x4c, 0x81), QColor(0x5a, 0xc8, 0xfa)},
        {"Spring Release", "Spring release notes.", 200, 30, "spring-release", QColor(0x23, 0x5c, 0x2b),
         QColor(0x9b, 0xe1, 0x5d)},
    };
    return list;
}

const QList<QPair<QString, QString>>& helpItems()
{
    static const QList<QPair<QString, QString>> list = {
        {"Getting started with Lumivane effects", "getting-started"},
        {"Installing and updating plug-ins", "installing"},
        {"Finding the effects in FCP X and Motion", "finding-effects"},
        {"Moving your licence to a new Mac", "licence-transfer"},
        {"Troubleshooting: an effect shows a red frame or does not appear in the browser after an "
         "update of the host application",
         "troubleshooting"},
        {"Contact support", "contact"},
    };
    return list;
}

} // namespace

QList<ProductFiles> productFiles()
{
    QList<ProductFiles> files;
    for (const Product& p : products())
        files.append({p.id, p.title, nameOf(p), pluginIdentifier(p), p.versions});
    return files;
}

QString wrapperPath(const QString& name)
{
    return QStringLiteral("/Applications/Lumivane/%1.app").arg(name);
}

QString packageIdentifier()
{
    return QStringLiteral("com.quarnet.pkg.LumivaneEffects");
}

QVariantMap catalogue(const QUrl& baseURL, const QDateTime& now, int generatedProducts)
{
    QVariantList productList;
    int index = 0;
    for (const Product& p : products())
        productList.append(productDict(p, baseURL, now, index++));
    for (int i = 0; i < generatedProducts; ++i) {
        Product p{QStringLiteral("LV-GEN%1").arg(i, 4, 10, QLatin1Char('0')),
                  QStringLiteral("Generated Effect %1").arg(i + 1),
                  QStringLiteral("A generated product for load tests."),
                  QColor::fromHsv((i * 37) % 360, 160, 230),
                  QColor::fromHsv((i * 37 + 60) % 360, 200, 140),
                  {"1.0.0", "1.1.0", "2.0.0"},
                  "FxPlug3",
                  i % 10 == 9};
        productList.append(productDict(p, baseURL, now, i % 20));
    }
    productList.append(QVariantMap{
        {"Bundle", true},
        {"Product ID", "LV-STUDIO"},
        {"Title", "Lumivane Studio Bundle"},
        {"Included Product IDs", "LV-PRISM LV-HALFTONE LV-AURORA LV-VELLUM LV-ORBIT"},
        {"Description", "Five essential looks in one installer, at a bundle price."},
        {"Icon URL", url(baseURL, "/images/icons/lv-studio.png")},
        {"Info URL", url(baseURL, "/products/lv-studio.html")},
    });
    productList.append(QVariantMap{
        {"Bundle", true},
        {"Product ID", "LV-TYPE"},
        {"Title", "Title Designer Pack"},
        {"Included Product IDs", "LV-DRIFT LV-KINETIC"},
        {"Description", "Everything for titles: organic reveals and kinetic typography."},
        {"Icon URL", url(baseURL, "/images/icons/lv-type.png")},
        {"Info URL", url(baseURL, "/products/lv-type.html")},
    });

    QVariantList newsList;
    for (const News& n : news()) {
        newsList.append(QVariantMap{
            {"Title", n.title},
            {"Headline", n.headline},
            {"Release Date", releaseString(now, n.releasedDaysAgo)},
            {"Show Days", n.showDays},
            {"News Image URL", url(baseURL, QStringLiteral("/images/news/%1.png").arg(n.image))},
            {"More Info URL", url(baseURL, QStringLiteral("/news/%1.html").arg(n.image))},
            {"Internal Comment", "Demo announcement"},
        });
    }
    QVariantList helpList;
    for (const auto& [title, page] : helpItems())
        helpList.append(
            QVariantMap{{"Title", title}, {"Help URL", url(baseURL, QStringLiteral("/support/%1.html").arg(page))}});

    return QVariantMap{
        {"Version Number", 42},
        {"Products", QVariantMap{{"Products", productList}}},
        {"News", QVariantMap{{"News", newsList}}},
        {"Help Items", QVariantMap{{"Help Items", helpList}}},
        {"Indicate Product as New Period", 14},
        {"License Agreement URL", url(baseURL, "/VM_installers/License.rtf")},
    };
}

bool writeSite(const QString& folder, const QUrl& baseURL, const QDateTime& now, int generatedProducts)
{
    const QDir root(folder);
    bool ok = writeFile(root.filePath("VM_installers/Product+Versions.plist"),
                        VMPropertyList::toXmlData(catalogue(baseURL, now, generatedProducts)));
    ok = ok && writeFile(root.filePath("VM_installers/License.rtf"),
                         "{\\rtf1\\ansi Demo licence: use these invented effects freely.}");
    QDir().mkpath(root.filePath("images/icons"));
    for (const Product& p : products())
        ok = ok && iconImage(p).save(root.filePath(QStringLiteral("images/icons/%1.png").arg(p.id.toLower())));
    ok = ok && iconImage(Product{"LV-STUDIO", "Studio", "", QColor(0xff, 0x8a, 0x3d), QColor(0x5b, 0x3c, 0xd8), {}, ""})
                   .save(root.filePath("images/icons/lv-studio.png"));
    ok = ok && iconImage(Product{"LV-TYPE", "Type", "", QColor(0xff, 0xd6, 0x4a), QColor(0x8a, 0x4b, 0x2a), {}, ""})
                   .save(root.filePath("images/icons/lv-type.png"));
    QDir().mkpath(root.filePath("images/news"));
    int seed = 1;
    for (const News& n : news()) {
        ok = ok && newsImage(n.title, n.from, n.to, seed++)
                       .save(root.filePath(QStringLiteral("images/news/%1.png").arg(n.image)));
        ok = ok && writeFile(root.filePath(QStringLiteral("news/%1.html").arg(n.image)), page(n.title, n.headline));
    }
    for (const auto& [title, name] : helpItems())
        ok =
            ok && writeFile(root.filePath(QStringLiteral("support/%1.html").arg(name)), page(title, "Demo help page."));
    ok = ok &&
         writeFile(root.filePath("index.html"), page("Lumivane", "The makers of the Lumivane effects (demo site)."));
    return ok;
}

} // namespace DemoCatalogue
