package com.talvern.test.gx.junit;

import com.talvern.test.gx.engine.Application;
import com.talvern.test.gx.engine.Complaint;
import com.talvern.test.gx.engine.Steps;
import java.io.IOException;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.Optional;
import java.util.concurrent.CopyOnWriteArrayList;
import org.junit.jupiter.api.extension.AfterEachCallback;
import org.junit.jupiter.api.extension.AfterTestExecutionCallback;
import org.junit.jupiter.api.extension.ExtensionContext;
import org.junit.jupiter.api.extension.LifecycleMethodExecutionExceptionHandler;
import org.junit.jupiter.api.extension.ParameterContext;
import org.junit.jupiter.api.extension.ParameterResolutionException;
import org.junit.jupiter.api.extension.ParameterResolver;
import org.opentest4j.TestAbortedException;

/** What {@link GxTest} does; JUnit makes and calls it. */
public final class GxExtension implements ParameterResolver, AfterTestExecutionCallback, AfterEachCallback,
        LifecycleMethodExecutionExceptionHandler {
    private static final ExtensionContext.Namespace NAMESPACE = ExtensionContext.Namespace.create(GxExtension.class);
    private static final String PAGES = "gx.failures";
    private static final String DEFAULT_PAGES = "target/gx-failures";

    /** Made by JUnit. */
    public GxExtension() {}

    @Override
    public boolean supportsParameter(ParameterContext parameter, ExtensionContext context) {
        return parameter.isAnnotated(Program.class) && parameter.getParameter().getType() == Application.class;
    }

    @Override
    public Object resolveParameter(ParameterContext parameter, ExtensionContext context) {
        Program program = parameter.findAnnotation(Program.class).orElseThrow();
        try {
            Launch launch = new Launch(program);
            ExtensionContext.Store store = context.getStore(NAMESPACE);
            launches(context).add(launch);
            store.put(launch, launch); // which closes it when what it is for has ended
            return launch.start(program);
        } catch (IOException noFile) {
            throw new ParameterResolutionException(Complaint.of("no file for the errors of " + program.value()[0],
                noFile.toString(), "java.io.tmpdir has to name a directory that can be written to"), noFile);
        }
    }

    /** What this very context has started: a store answers with what that of its parent has under the same key. */
    @SuppressWarnings("unchecked")
    private static List<Launch> launches(ExtensionContext context) {
        return (List<Launch>) context.getStore(NAMESPACE).getOrComputeIfAbsent(context.getUniqueId(),
            key -> new CopyOnWriteArrayList<Launch>());
    }

    @Override
    public void afterTestExecution(ExtensionContext context) {
        report(context, context.getExecutionException());
    }

    /** For what failed beside the test itself. */
    @Override
    public void afterEach(ExtensionContext context) {
        report(context, context.getExecutionException());
        Steps.forget();
    }

    @Override
    public void handleBeforeAllMethodExecutionException(ExtensionContext context, Throwable failure) throws Throwable {
        report(context, Optional.of(failure));
        throw failure;
    }

    @Override
    public void handleBeforeEachMethodExecutionException(ExtensionContext context, Throwable failure) throws Throwable {
        report(context, Optional.of(failure));
        throw failure;
    }

    private static void report(ExtensionContext context, Optional<Throwable> failure) {
        ExtensionContext.Store store = context.getStore(NAMESPACE);
        if (failure.isEmpty() || failure.get() instanceof TestAbortedException || store.get(PAGES) != null) {
            return;
        }
        store.put(PAGES, true);
        List<Launch> launches = new ArrayList<>();
        for (Optional<ExtensionContext> each = Optional.of(context); each.isPresent(); each = each.get().getParent()) {
            launches.addAll(launches(each.get()));
        }
        Path directory = Path.of(context.getConfigurationParameter(PAGES).orElse(DEFAULT_PAGES));
        try {
            System.err.println("What there was when " + context.getDisplayName() + " failed: "
                + new FailurePage(context, failure.get(), launches).write(directory).toAbsolutePath());
        } catch (IOException | RuntimeException noPage) {
            failure.get().addSuppressed(noPage);
        }
    }
}
