#include "store/SampleProject.h"

namespace quillvane {

Project sampleProject()
{
    Project project;
    project.title = QStringLiteral("Neon Overpass");
    project.artist = QStringLiteral("The Marker Kids");
    project.rawLyrics = QStringLiteral("City lights are burning low\n"
                                       "Down the road we used to know\n"
                                       "Hold my hand and don't let go\n"
                                       "We are letters in the snow");
    project.style.continuityNotes = QStringLiteral("Warm dusk, wet asphalt reflections, recurring red jacket.");
    return project;
}

} // namespace quillvane
