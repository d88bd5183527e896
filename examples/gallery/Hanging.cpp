#include "examples/gallery/Hanging.h"

#include "examples/gallery/Saving.h"

namespace {

Plate fnHangStep(Hanging& hanging, const Exhibit& exhibit, std::size_t index) {
    const Step& step = exhibit.m_Steps[index];
    CqImage picture;
    picture = exhibit.m_Start(hanging.m_Scenes);
    Easel easel{picture, hanging.m_Scenes, hanging.m_World, {}};
    step.m_Do(easel);

    std::string file = std::string(exhibit.m_Name) + '-' + std::to_string(index + 1) + ".png";
    fnSavePicture(hanging.m_Folder + '/' + file, picture);
    std::string caption = step.m_Caption;
    if (!easel.m_Note.empty())
        caption += ": " + easel.m_Note;
    return {std::move(file), std::move(caption), picture.Width, picture.Height};
}

} // namespace

void Hanging::fnHang(const Wing& wing, Page& page) {
    std::size_t total = 0;
    for (const Hall& hall : wing.m_Halls)
        total += hall.m_Exhibits.size();
    std::size_t done = 0;
    for (const Hall& hall : wing.m_Halls) {
        Section& section = page.m_Sections.emplace_back();
        section.m_Title = hall.m_Title;
        if (*hall.m_Text)
            section.m_Facts.emplace_back(hall.m_Text);
        for (const Exhibit& exhibit : hall.m_Exhibits) {
            m_Progress.fnReport(static_cast<unsigned int>(100 * done++ / total));
            Row& row = section.m_Rows.emplace_back(Row{exhibit.m_Title, exhibit.m_Text, {}});
            for (std::size_t i = 0; i < exhibit.m_Steps.size(); ++i)
                row.m_Plates.push_back(fnHangStep(*this, exhibit, i));
        }
    }
}
