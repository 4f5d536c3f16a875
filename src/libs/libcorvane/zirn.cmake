# Tasks, plans, permissions and what runs them; what the tasks do to a scene stands above.
corvane_library(corvane_zirn
    AREAS zirn
    SOURCES
        corvane/zirn/FailureText.cpp
        corvane/zirn/HistoryConnection.cpp
        corvane/zirn/LLMSession.cpp
        corvane/zirn/Operator.cpp
        corvane/zirn/PermissionGrant.cpp
        corvane/zirn/PermissionStore.cpp
        corvane/zirn/PlaceholderFiller.cpp
        corvane/zirn/PlanReader.cpp
        corvane/zirn/PlanRun.cpp
        corvane/zirn/RuntimeChannel.cpp
        corvane/zirn/TaskPlan.cpp
        corvane/zirn/ZirnAuthContext.cpp
        corvane/zirn/ZirnHistoryDatabase.cpp
        corvane/zirn/ZirnResourceManager.cpp
        corvane/zirn/ZirnResourceSemaphore.cpp
        corvane/zirn/ZirnTask.cpp
        corvane/zirn/ZirnTaskContext.cpp
        corvane/zirn/ZirnTaskParams.cpp
        corvane/zirn/ZirnTaskRegistry.cpp
        corvane/zirn/ZirnTaskRuntime.cpp
        corvane/zirn/ZirnUIDriver.h
    LINKS Qt6::Core
    PRIVATE_LINKS concurrency Qt6::Sql store)
