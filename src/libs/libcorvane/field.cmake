# From a compiled scene to a mesh file: the node array, fields, surface extraction, the export pipeline.
include(${CMAKE_CURRENT_LIST_DIR}/render_sources.cmake)

corvane_library(corvane_field
    AREAS render eval bv mesh xport
    SOURCES
        ${CORVANE_RENDER_SOURCES}
        corvane/bv/BoundsDetector.cpp
        corvane/eval/AnalyticGradient.cpp
        corvane/eval/AnalyticGradientCompiler.cpp
        corvane/eval/CPUFieldEvaluator.cpp
        corvane/eval/DefinitionTable.cpp
        corvane/eval/EvalFieldEvaluator.cpp
        corvane/eval/FieldCompiler.cpp
        corvane/eval/FieldTextBuilder.cpp
        corvane/eval/IFieldEvaluator.cpp
        corvane/eval/SdfSceneGraphBuilder.cpp
        corvane/eval/TransformProbe.cpp
        corvane/mesh/CellCycles.cpp
        corvane/mesh/CellVertices.cpp
        corvane/mesh/CreaseOwner.cpp
        corvane/mesh/CreaseSearch.cpp
        corvane/mesh/CrossingTable.cpp
        corvane/mesh/DualContouring.cpp
        corvane/mesh/HermiteSample.cpp
        corvane/mesh/MarchingCubes.cpp
        corvane/mesh/MarchingCubesTables.cpp
        corvane/mesh/NearbySheets.cpp
        corvane/mesh/OctreeDualContouring.cpp
        corvane/mesh/QefSolver.cpp
        corvane/mesh/QuadTriangles.cpp
        corvane/mesh/Sheets.cpp
        corvane/mesh/SignPyramid.cpp
        corvane/mesh/SurfaceSearch.cpp
        corvane/mesh/TetrahedralVolume.cpp
        corvane/mesh/VertexPlacer.cpp
        corvane/mesh/VertexRegion.cpp
        corvane/xport/AutoBounds.cpp
        corvane/xport/ChunkRunner.cpp
        corvane/xport/ChunkScheduler.cpp
        corvane/xport/CornerStore.cpp
        corvane/xport/CpuChunkProcessor.cpp
        corvane/xport/ExportPipeline.cpp
        corvane/xport/ExportRequest.cpp
        corvane/xport/GridSeal.cpp
        corvane/xport/GridSurface.cpp
        corvane/xport/MemoryBudget.cpp
        corvane/xport/MeshBuilder.cpp
        corvane/xport/OctreeExport.cpp
        corvane/xport/PostProcess.cpp
        corvane/xport/PostProcessStep.cpp
        corvane/xport/SealedField.cpp
        corvane/xport/VolumeExport.cpp
        corvane/xport/VolumeMesh.cpp
    LINKS corvane_model mesh eval Qt6::Core Qt6::Gui
    PRIVATE_LINKS Qt6::Concurrent)
