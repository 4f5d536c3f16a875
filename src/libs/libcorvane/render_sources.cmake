# corvane/render: scene document to node array.
set(CORVANE_RENDER_SOURCES
    corvane/render/CorvaneSnapshot.cpp
    corvane/render/CorvaneSnapshot.h
    corvane/render/GroupTransforms.cpp
    corvane/render/ParameterPatch.cpp
    corvane/render/SDFLayer.cpp
    corvane/render/SDFNodeBuilder.cpp
    corvane/render/SDFNodePacker.cpp)
