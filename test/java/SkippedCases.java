import org.junit.platform.engine.TestExecutionResult;
import org.junit.platform.engine.support.descriptor.MethodSource;
import org.junit.platform.launcher.TestExecutionListener;
import org.junit.platform.launcher.TestIdentifier;

/** Says in one line which case was skipped and why, for the summary of scripts/test. */
public final class SkippedCases implements TestExecutionListener {
    @Override
    public void executionSkipped(TestIdentifier test, String reason) {
        report(test, reason);
    }

    @Override
    public void executionFinished(TestIdentifier test, TestExecutionResult result) {
        if (result.getStatus() == TestExecutionResult.Status.ABORTED) {
            report(test, result.getThrowable().map(Throwable::getMessage).orElse("no reason given"));
        }
    }

    private static void report(TestIdentifier test, String reason) {
        String suite = test.getSource().orElse(null) instanceof MethodSource method ? method.getClassName() + "." : "";
        System.out.println("skipped: " + suite + test.getLegacyReportingName().replaceAll("\\(.*?\\)", "") + ": "
                + reason.replaceFirst("^Assumption failed: ", ""));
    }
}
