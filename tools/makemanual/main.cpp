// makemanual: turns the Markdown source of the user manual into a PDF.
//
//   makemanual SOURCE.md OUTPUT.pdf
//
// Images are looked up relative to the source file; a missing image fails
// the build instead of leaving a hole in the manual. The first heading is
// the document's title and stands in the footer of every page.
#include <QAbstractTextDocumentLayout>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPdfWriter>
#include <QSaveFile>
#include <QSet>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextFrame>
#include <QTextTable>
#include <QUrl>
#include <QVector>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>

namespace {

constexpr qreal baseFontPoints = 9.5;
const QColor headingColor(0x1d, 0x3d, 0x6b);
const QColor ruleColor(0x9a, 0xa4, 0xb0);
const QColor headerCellColor(0xe4, 0xe9, 0xf0);
const QColor codeColor(0xf2, 0xf2, 0xf2);

void fail(const QString& message)
{
    std::fprintf(stderr, "makemanual: %s\n", qPrintable(message));
    std::exit(1);
}

// Loads every image that the text names from the source's folder, and
// narrows it to the width of the text where it is wider.
void loadImages(QTextDocument& document, const QString& sourceDir, qreal textWidth)
{
    struct Image
    {
        int position;
        int length;
        QTextImageFormat format;
    };
    QVector<Image> images;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next())
        for (auto it = block.begin(); !it.atEnd(); ++it)
            if (it.fragment().charFormat().isImageFormat())
                images.append({it.fragment().position(), it.fragment().length(),
                               it.fragment().charFormat().toImageFormat()});

    QSet<QString> loaded;
    for (Image& image : images) {
        const QString name = image.format.name();
        const QImage picture(sourceDir + QLatin1Char('/') + name);
        if (picture.isNull())
            fail(QStringLiteral("cannot read image %1").arg(name));
        if (!loaded.contains(name)) {
            document.addResource(QTextDocument::ImageResource, QUrl(name), picture);
            loaded.insert(name);
        }
        const qreal width = qMin<qreal>(picture.width(), textWidth);
        image.format.setWidth(width);
        image.format.setHeight(width * picture.height() / picture.width());
        QTextCursor cursor(&document);
        cursor.setPosition(image.position);
        cursor.setPosition(image.position + image.length, QTextCursor::KeepAnchor);
        cursor.setCharFormat(image.format);
    }
}

void styleTable(QTextTable* table)
{
    QTextTableFormat format = table->format();
    format.setBorder(0.5);
    format.setBorderBrush(ruleColor);
    format.setBorderStyle(QTextFrameFormat::BorderStyle_Solid);
    format.setCellSpacing(0);
    format.setCellPadding(3);
    format.setWidth(QTextLength(QTextLength::PercentageLength, 100));
    format.setHeaderRowCount(1);
    format.setTopMargin(2);
    format.setBottomMargin(8);
    table->setFormat(format);

    QTextCharFormat bold;
    bold.setFontWeight(QFont::Bold);
    for (int column = 0; column < table->columns(); ++column) {
        QTextTableCell cell = table->cellAt(0, column);
        QTextCharFormat cellFormat = cell.format();
        cellFormat.setBackground(headerCellColor);
        cell.setFormat(cellFormat);
        QTextCursor cursor = cell.firstCursorPosition();
        cursor.setPosition(cell.lastCursorPosition().position(), QTextCursor::KeepAnchor);
        cursor.mergeCharFormat(bold);
    }
}

bool isCode(const QTextBlock& block)
{
    // A table's first cell copies the format of the block before the
    // table, code fence included.
    return block.blockFormat().hasProperty(QTextFormat::BlockCodeFence) && !QTextCursor(block).currentTable();
}

// The importer ends each code block with an empty line, which would only
// widen the grey box, and puts an empty line into the first cell of a table
// that follows a code block.
void dropEmptyLines(QTextDocument& document)
{
    QVector<int> separators;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        if (!block.text().isEmpty() || !block.next().isValid())
            continue;
        if (isCode(block) && block.previous().isValid() && isCode(block.previous())) {
            separators.append(block.position() - 1);
            continue;
        }
        QTextTable* table = QTextCursor(block).currentTable();
        if (!table)
            continue;
        const QTextTableCell cell = table->cellAt(block.position());
        if (cell.firstPosition() == block.position() && cell.lastPosition() > block.position())
            separators.append(block.position());
    }
    std::sort(separators.begin(), separators.end(), std::greater<int>());
    for (const int position : separators) {
        QTextCursor cursor(&document);
        cursor.setPosition(position);
        cursor.setPosition(position + 1, QTextCursor::KeepAnchor);
        cursor.removeSelectedText();
    }
}

void styleBlocks(QTextDocument& document)
{
    dropEmptyLines(document);
    QTextCharFormat monospace;
    monospace.setFontFamily(QStringLiteral("DejaVu Sans Mono"));
    monospace.setFontStyleHint(QFont::Monospace);
    monospace.setFontPointSize(baseFontPoints - 0.5);

    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        QTextCursor cursor(block);
        QTextBlockFormat blockFormat = block.blockFormat();
        const int level = blockFormat.headingLevel();
        if (level > 0) {
            blockFormat.setTopMargin(level == 1 ? 0 : 14 - 2 * level);
            blockFormat.setBottomMargin(level == 1 ? 10 : 4);
            cursor.setBlockFormat(blockFormat);
            cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
            QTextCharFormat heading;
            heading.setForeground(headingColor);
            heading.setFontWeight(QFont::Bold);
            cursor.mergeCharFormat(heading);
        } else if (isCode(block)) {
            blockFormat.setBackground(codeColor);
            blockFormat.setLeftMargin(0);
            blockFormat.setTopMargin(0);
            blockFormat.setBottomMargin(isCode(block.next()) ? 0 : 8);
            cursor.setBlockFormat(blockFormat);
            cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
            cursor.mergeCharFormat(monospace);
        } else {
            if (!block.textList() && !cursor.currentTable()) {
                blockFormat.setBottomMargin(6);
                cursor.setBlockFormat(blockFormat);
            }
            // Inline code: the importer gives only code a font family of
            // its own.
            QVector<QPair<int, int>> spans;
            for (auto it = block.begin(); !it.atEnd(); ++it)
                if (it.fragment().charFormat().hasProperty(QTextFormat::FontFamily))
                    spans.append({it.fragment().position(), it.fragment().length()});
            for (const auto& span : spans) {
                QTextCursor spanCursor(&document);
                spanCursor.setPosition(span.first);
                spanCursor.setPosition(span.first + span.second, QTextCursor::KeepAnchor);
                spanCursor.mergeCharFormat(monospace);
            }
        }
    }
    for (QTextFrame* frame : document.rootFrame()->childFrames())
        if (auto* table = qobject_cast<QTextTable*>(frame))
            styleTable(table);
}

QString documentTitle(const QTextDocument& document)
{
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next())
        if (block.blockFormat().headingLevel() > 0)
            return block.text();
    return QString();
}

} // namespace

int main(int argc, char** argv)
{
    // Runs during the build, where no display may exist.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    if (arguments.size() != 3)
        fail(QStringLiteral("usage: makemanual SOURCE.md OUTPUT.pdf"));
    const QString sourcePath = arguments.at(1);
    const QString outputPath = arguments.at(2);

    QFile source(sourcePath);
    if (!source.open(QIODevice::ReadOnly))
        fail(QStringLiteral("cannot read %1").arg(sourcePath));
    const QString markdown = QString::fromUtf8(source.readAll());

    QSaveFile output(outputPath);
    if (!output.open(QIODevice::WriteOnly))
        fail(QStringLiteral("cannot write %1").arg(outputPath));
    QPdfWriter writer(&output);
    writer.setResolution(600);
    writer.setCreator(QStringLiteral("Vistrel makemanual"));
    writer.setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait,
                                     QMarginsF(20, 16, 20, 14), QPageLayout::Millimeter));

    QTextDocument document;
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPointSizeF(baseFontPoints);
    document.setDefaultFont(font);
    document.setDocumentMargin(0);
    // Angle brackets are text, never HTML.
    document.setMarkdown(markdown, QTextDocument::MarkdownFeatures(QTextDocument::MarkdownDialectGitHub |
                                                                   QTextDocument::MarkdownNoHTML));
    writer.setTitle(documentTitle(document));

    document.documentLayout()->setPaintDevice(&writer);
    const QRectF paintRect = writer.pageLayout().paintRectPixels(writer.resolution());
    const qreal dotsPerPoint = writer.resolution() / 72.0;
    const qreal footerHeight = 22 * dotsPerPoint;
    const QSizeF bodySize(paintRect.width(), paintRect.height() - footerHeight);
    // Widths in the text are in pixels of 96 dpi, scaled to the writer.
    loadImages(document, QFileInfo(sourcePath).absolutePath(), bodySize.width() * 96.0 / writer.resolution());
    styleBlocks(document);
    document.setPageSize(bodySize);

    const int pages = document.pageCount();
    const QString title = documentTitle(document);
    QFont footerFont = font;
    footerFont.setPointSizeF(7.5);

    QPainter painter(&writer);
    for (int page = 0; page < pages; ++page) {
        if (page > 0)
            writer.newPage();
        const QRectF body(0, page * bodySize.height(), bodySize.width(), bodySize.height());
        painter.save();
        painter.translate(0, -body.top());
        document.drawContents(&painter, body);
        painter.restore();

        const QRectF footer(0, paintRect.height() - footerHeight, paintRect.width(), footerHeight);
        painter.setPen(QPen(ruleColor, 0.5 * dotsPerPoint));
        painter.drawLine(footer.topLeft() + QPointF(0, 6 * dotsPerPoint),
                         footer.topRight() + QPointF(0, 6 * dotsPerPoint));
        painter.setPen(Qt::black);
        painter.setFont(footerFont);
        painter.drawText(footer, Qt::AlignLeft | Qt::AlignBottom, title);
        painter.drawText(footer, Qt::AlignRight | Qt::AlignBottom,
                         QStringLiteral("%1 / %2").arg(page + 1).arg(pages));
    }
    if (!painter.end())
        fail(QStringLiteral("cannot write %1").arg(outputPath));
    if (!output.commit())
        fail(QStringLiteral("cannot write %1").arg(outputPath));
    return 0;
}
