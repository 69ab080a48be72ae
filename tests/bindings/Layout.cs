// Prints the size of each record of the binding and the offsets of its fields, for script/languages-test.
using System;
using System.Reflection;
using System.Runtime.InteropServices;

internal static class Layout
{
    private static void Main()
    {
        foreach (Type type in typeof(Velkar.Connector).Assembly.GetTypes()) {
            if (type.Namespace != "Velkar" || !type.IsLayoutSequential || type.IsAbstract)
                continue;
            Console.WriteLine(type.Name + " " + Marshal.SizeOf(type));
            foreach (FieldInfo field in type.GetFields(BindingFlags.Instance | BindingFlags.Public | BindingFlags.NonPublic)) {
                string name = field.IsPrivate && field.Name.EndsWith("Bytes")
                    ? field.Name.Remove(field.Name.Length - 5) : field.Name;
                Console.WriteLine(type.Name + "." + name + " " + Marshal.OffsetOf(type, field.Name));
            }
        }
    }
}
